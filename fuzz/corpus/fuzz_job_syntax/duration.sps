* The spread of a time variable reads as a duration.
GGRAPH
  /GRAPHDATASET NAME="g" VARIABLES=dept STDDEV(shift) MEAN(shift)
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("g"))
  DATA: dept = col(source(s), name("dept"), unit.category())
  DATA: sd = col(source(s), name("STDDEV_shift"))
  DATA: m = col(source(s), name("MEAN_shift"))
  ELEMENT: point(position(dept*sd))
END GPL.
