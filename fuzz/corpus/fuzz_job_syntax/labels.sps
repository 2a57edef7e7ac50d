* Labels, formats, statistics and relabels of an aggregated chart with error bars.
GGRAPH
  /GRAPHDATASET NAME="pay" VARIABLES=dept MEANCI(salary, 90)[NAME="mean" LOW="lo" HIGH="hi"]
     PIN(salary 40000 50000) COUNT() $langs
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("pay"))
  DATA: dept = col(source(s), name("dept"), unit.category())
  DATA: mean = col(source(s), name("mean"))
  DATA: lo = col(source(s), name("lo"))
  DATA: hi = col(source(s), name("hi"))
  DATA: pin = col(source(s), name("PIN_salary_40000_50000"))
  DATA: n = col(source(s), name("COUNT"))
  DATA: langs = col(source(s), name("$langs"), unit.category())
  GUIDE: axis(dim(1), label("Where they work"))
  ELEMENT: interval(position(dept*mean))
END GPL.
