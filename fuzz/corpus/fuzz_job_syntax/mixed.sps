* One chart over a split data set and an unsplit one: refused with an error for the second.
SPLIT FILE BY region.
GGRAPH
  /GRAPHDATASET NAME="a" VARIABLES=dept COUNT()
  /GRAPHDATASET NAME="b" DATASET=other VARIABLES=dept MEAN(salary)
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: sa = userSource(id("a"))
  SOURCE: sb = userSource(id("b"))
  DATA: dept = col(source(sa), name("dept"), unit.category())
  DATA: n = col(source(sa), name("COUNT"))
  DATA: dept2 = col(source(sb), name("dept"), unit.category())
  DATA: pay = col(source(sb), name("MEAN_salary"))
  ELEMENT: interval(position(dept*n))
  ELEMENT: point(position(dept2*pay))
END GPL.
