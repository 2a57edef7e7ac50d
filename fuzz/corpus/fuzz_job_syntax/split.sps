* One chart per split group, its label and subtitle naming the group; a second specification on
* the same split data set gets no chart; a chart that names a data set the command lacks.
SPLIT FILE BY region.
GGRAPH
  /GRAPHDATASET NAME="g" VARIABLES=dept COUNT()
  /GRAPHSPEC SOURCE=INLINE LABEL="Staff"
  /GRAPHSPEC SOURCE=INLINE LABEL="Again".
BEGIN GPL
  SOURCE: s = userSource(id("g"))
  DATA: dept = col(source(s), name("dept"), unit.category())
  DATA: n = col(source(s), name("COUNT"))
  ELEMENT: interval(position(dept*n))
END GPL.
BEGIN GPL
  SOURCE: s = userSource(id("g"))
  DATA: dept = col(source(s), name("dept"), unit.category())
  DATA: n = col(source(s), name("COUNT"))
  ELEMENT: interval(position(dept*n))
END GPL.
SPLIT FILE OFF.
GGRAPH
  /GRAPHDATASET NAME="g" VARIABLES=dept COUNT()
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("other"))
  DATA: dept = col(source(s), name("dept"), unit.category())
  DATA: n = col(source(s), name("COUNT"))
  ELEMENT: interval(position(dept*n))
END GPL.
