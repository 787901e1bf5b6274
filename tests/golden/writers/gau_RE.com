%mem=3000MB
%nprocs=6
%chk=ch3cl_re.chk
#P opt freq B3LYP/6-31G(d) pop=full nosymm
scf=(maxcycle=100,xqc)

chloromethane RE

1 2
C     0.0000    0.0000    0.0000
Cl    1.7810    0.0000    0.0000
H    -0.3630    1.0270    0.0000
H    -0.3630   -0.5135    0.8894
H    -0.3630   -0.5135   -0.8894

--Link1--
%chk=ch3cl_re.chk
#P geom=check guess=read pop=(full,%d)

