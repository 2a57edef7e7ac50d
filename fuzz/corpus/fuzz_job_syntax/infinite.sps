* A group with a single case (the blank sex, kept by REPORTMISSING=YES) has no confidence interval: its bars are infinite and are dropped.
GGRAPH
  /GRAPHDATASET NAME="g" VARIABLES=sex MEANCI(salary 95)[NAME="m" LOW="lo" HIGH="hi"] REPORTMISSING=YES
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("g"))
  DATA: sex = col(source(s), name("sex"), unit.category())
  DATA: m = col(source(s), name("m"))
  DATA: lo = col(source(s), name("lo"))
  DATA: hi = col(source(s), name("hi"))
  ELEMENT: interval(position(sex*m))
  ELEMENT: interval(position(region.spread.range(sex*(lo+hi))), shape(shape.ibeam))
END GPL.
