* Every subcommand of GGRAPH that this build reads, in the forms published jobs use.
* Run with --context DM so that DESCRIPTION is accepted.

ggraph
  /graphspec source = inline editable = no label = 'Sales'  + ' by region'
     defaulttemplate=no template=["corporate.sgt" "large.sgt"] inlinetemplate="<x/>"
     imageformat=png
/graphspec SOURCE=GPLFILE("chart.gpl")
/GRAPHSPEC SOURCE=VIZMLFILE("chart.xml") /GRAPHSPEC SOURCE=VIZJSONFILE("chart.json")
  /GRAPHSPEC SOURCE=VIZJSONTEMPLATE("map.json") SOURCE=GEOJSONFILE("a.geojson")
     SOURCE=GEOJSONFILE("b.geojson")
  /GRAPHSPEC SOURCE=IMAGEFILE("logo.png")
  /GRAPHSPEC SOURCE=PMMLFILE("model.xml")
  /GRAPHSPEC SOURCE=VIZTEMPLATE(NAME="Bar"[LOCATION=LOCAL]
       MAPPING("categories"="region" "values"="amount"))
     VIZSTYLESHEET="Modern"[LOCATION=LOCAL]
     VIZMAP="World"[LOCATION="maps" TYPE=DATA MAPKEY="NAME" SHOWALLFEATURES=YES]
     VIZMAP="Europe"[LOCATION="maps" TYPE=REFERENCE]
  /FITLINE TOTAL=YES SUBGROUP=NO
  /FRAME OUTER=YES INNER=NO
  /GRIDLINES XAXIS=YES YAXIS=NO
  /COLORCYCLE COLOR2(0 128 0) COLOR1(200 30 30)
  /DESCRIPTION TEXT=SCATTER
.
  BEGIN GPL
ELEMENT: point(position(x*y))
  END GPL.
