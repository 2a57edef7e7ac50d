* A chart from one row per statistic (TRANSFORM=VARSTOCASES), with error bars.
GGRAPH
  /GRAPHDATASET NAME="t" VARIABLES=MEANCI(salary 95) MEANCI(hours 95)
     TRANSFORM=VARSTOCASES(SUMMARY="value" INDEX="which" LOW="lo" HIGH="hi")
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("t"))
  DATA: which = col(source(s), name("which"), unit.category())
  DATA: value = col(source(s), name("value"))
  DATA: lo = col(source(s), name("lo"))
  DATA: hi = col(source(s), name("hi"))
  ELEMENT: point(position(which*value))
END GPL.
