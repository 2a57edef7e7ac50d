* Two data sets in one chart; and a chart without any data set in its command.
GGRAPH
  /GRAPHDATASET NAME="a" VARIABLES=dept MEAN(salary)
  /GRAPHDATASET NAME="b" VARIABLES=dept MEAN(hours)
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: sa = userSource(id("a"))
  SOURCE: sb = userSource(id("b"))
  DATA: dept = col(source(sa), name("dept"), unit.category())
  DATA: pay = col(source(sa), name("MEAN_salary"))
  DATA: dept2 = col(source(sb), name("dept"), unit.category())
  DATA: hours = col(source(sb), name("MEAN_hours"))
  ELEMENT: interval(position(dept*pay))
  ELEMENT: point(position(dept2*hours))
END GPL.
GGRAPH
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("nowhere"))
  DATA: x = col(source(s), name("x"))
  ELEMENT: point(position(x*x))
END GPL.
