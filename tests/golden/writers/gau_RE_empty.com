%mem=1MB
%nprocs=1
%chk=c.chk
#P opt freq HF pop=full nosymm
scf=(maxcycle=100,xqc)

t

0 1

