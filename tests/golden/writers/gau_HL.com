%chk=ch3cl_hl.chk
%mem=2000MB
%nprocs=4
#P B3LYP/6-31G(d) iop(3/33=1,5/33=2) pop=full nosymm

chloromethane HL

0 1
C     0.0000    0.0000    0.0000
Cl    1.7810    0.0000    0.0000
H    -0.3630    1.0270    0.0000
H    -0.3630   -0.5135    0.8894
H    -0.3630   -0.5135   -0.8894

