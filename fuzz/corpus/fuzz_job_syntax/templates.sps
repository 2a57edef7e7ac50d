* Templates, fit lines and inline templates; and a second chart without default templates.
GGRAPH
  /GRAPHDATASET NAME="g" VARIABLES=dept MEAN(salary)
  /GRAPHSPEC SOURCE=INLINE LABEL="With templates" TEMPLATE=["a.sgt" "b.sgt"] INLINETEMPLATE="<mine/>"
     EDITABLE=NO
  /FITLINE TOTAL=YES SUBGROUP=YES.
BEGIN GPL
  SOURCE: s = userSource(id("g"))
  DATA: dept = col(source(s), name("dept"), unit.category())
  DATA: m = col(source(s), name("MEAN_salary"))
  ELEMENT: interval(position(dept*m))
END GPL.
GGRAPH
  /GRAPHDATASET NAME="g" VARIABLES=dept MEAN(salary)
  /GRAPHSPEC SOURCE=INLINE DEFAULTTEMPLATE=NO TEMPLATE="ignored.sgt".
BEGIN GPL
  SOURCE: s = userSource(id("g"))
  DATA: dept = col(source(s), name("dept"), unit.category())
  DATA: m = col(source(s), name("MEAN_salary"))
  ELEMENT: interval(position(dept*m))
END GPL.
