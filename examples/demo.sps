* A first job: one GGRAPH command with its chart definition, and one with a mistake.
* Run it with: make demo.

GGRAPH
  /GRAPHSPEC SOURCE=INLINE LABEL="Planned budget by quarter"
  /FRAME OUTER=NO INNER=YES
  /GRIDLINES XAXIS=NO YAXIS=YES
  /COLORCYCLE COLOR1(31 119 180) COLOR2(255 127 14).
BEGIN GPL
  SOURCE: s = userSource(id("budget"))
  DATA: quarter = col(source(s), name("quarter"), unit.category())
  DATA: amount = col(source(s), name("amount"))
  GUIDE: axis(dim(1), label("Quarter"))
  GUIDE: axis(dim(2), label("Amount"))
  ELEMENT: interval(position(quarter*amount))
END GPL.

* The second command names a subcommand GGRAPH does not have: the report says so.
GGRAPH
  /GRAPHSPEC SOURCE=INLINE
  /STYLE COLOR=BLUE.
BEGIN GPL
  ELEMENT: point(position(x*y))
END GPL.
