* A first job over the example employees (examples/data/employees.csv with its dictionary).
* Run it with: make demo. Each GGRAPH command names its data (GRAPHDATASET) and its chart
* (GRAPHSPEC with a GPL block behind the command).

* 1. Mean salary by employment category, with 95% confidence intervals.
GGRAPH
  /GRAPHDATASET NAME="pay" VARIABLES=jobcat MEANCI(salary, 95)[NAME="mean" LOW="low" HIGH="high"]
  /GRAPHSPEC SOURCE=INLINE LABEL="Mean salary by employment category".
BEGIN GPL
  SOURCE: s = userSource(id("pay"))
  DATA: jobcat = col(source(s), name("jobcat"), unit.category())
  DATA: mean = col(source(s), name("mean"))
  DATA: low = col(source(s), name("low"))
  DATA: high = col(source(s), name("high"))
  GUIDE: axis(dim(1), label("Employment category"))
  GUIDE: axis(dim(2), label("Mean Current salary"))
  ELEMENT: interval(position(jobcat*mean))
  ELEMENT: interval(position(region.spread.range(jobcat*(low+high))), shape(shape.ibeam))
END GPL.

* 2. Clustered bars: mean salary by category and gender.
GGRAPH
  /GRAPHDATASET NAME="pay" VARIABLES=jobcat gender MEAN(salary)
  /GRAPHSPEC SOURCE=INLINE LABEL="Mean salary by category and gender".
BEGIN GPL
  SOURCE: s = userSource(id("pay"))
  DATA: jobcat = col(source(s), name("jobcat"), unit.category())
  DATA: gender = col(source(s), name("gender"), unit.category())
  DATA: mean = col(source(s), name("MEAN_salary"))
  COORD: rect(dim(1,2), cluster(3,0))
  GUIDE: legend(aesthetic(aesthetic.color.interior), label("Gender"))
  ELEMENT: interval(position(gender*mean*jobcat), color.interior(gender))
END GPL.

* 3. Stacked percentages: the share of each gender within each category.
GGRAPH
  /GRAPHDATASET NAME="counts" VARIABLES=jobcat gender COUNT()
  /GRAPHSPEC SOURCE=INLINE LABEL="Gender within employment category".
BEGIN GPL
  SOURCE: s = userSource(id("counts"))
  DATA: jobcat = col(source(s), name("jobcat"), unit.category())
  DATA: gender = col(source(s), name("gender"), unit.category())
  DATA: count = col(source(s), name("COUNT"))
  GUIDE: axis(dim(2), label("Percent"))
  ELEMENT: interval.stack(position(summary.percent(jobcat*count, base.coordinate(dim(1)))),
           color.interior(gender))
END GPL.

* 4. A pie of the employment categories.
GGRAPH
  /GRAPHDATASET NAME="counts" VARIABLES=jobcat COUNT()
  /GRAPHSPEC SOURCE=INLINE LABEL="Employees by category".
BEGIN GPL
  SOURCE: s = userSource(id("counts"))
  DATA: jobcat = col(source(s), name("jobcat"), unit.category())
  DATA: count = col(source(s), name("COUNT"))
  COORD: polar.theta(startAngle(0))
  GUIDE: legend(aesthetic(aesthetic.color.interior), label("Employment category"))
  ELEMENT: interval.stack(position(summary.percent(count)), color.interior(jobcat))
END GPL.

* 5. Mean salary by category, one chart per region.
SPLIT FILE SEPARATE BY region.
GGRAPH
  /GRAPHDATASET NAME="pay" VARIABLES=jobcat MEAN(salary)
  /GRAPHSPEC SOURCE=INLINE LABEL="Mean salary".
BEGIN GPL
  SOURCE: s = userSource(id("pay"))
  DATA: jobcat = col(source(s), name("jobcat"), unit.category())
  DATA: mean = col(source(s), name("MEAN_salary"))
  ELEMENT: interval(position(jobcat*mean))
END GPL.
SPLIT FILE OFF.

* 6. Beginning and current salary side by side, with confidence intervals, from one row per
* statistic (TRANSFORM=VARSTOCASES).
GGRAPH
  /GRAPHDATASET NAME="both" VARIABLES=MEANCI(salbegin, 95) MEANCI(salary, 95)
     TRANSFORM=VARSTOCASES(SUMMARY="mean" INDEX="which" LOW="low" HIGH="high")
  /GRAPHSPEC SOURCE=INLINE LABEL="Beginning and current salary".
BEGIN GPL
  SOURCE: s = userSource(id("both"))
  DATA: which = col(source(s), name("which"), unit.category())
  DATA: mean = col(source(s), name("mean"))
  DATA: low = col(source(s), name("low"))
  DATA: high = col(source(s), name("high"))
  ELEMENT: point(position(which*mean))
  ELEMENT: interval(position(region.spread.range(which*(low+high))), shape(shape.ibeam))
END GPL.

* 7. Current against beginning salary: no summary function, so one point per employee.
GGRAPH
  /GRAPHDATASET NAME="cases" VARIABLES=salbegin salary
  /GRAPHSPEC SOURCE=INLINE LABEL="Current by beginning salary"
  /FITLINE TOTAL=YES.
BEGIN GPL
  SOURCE: s = userSource(id("cases"))
  DATA: salbegin = col(source(s), name("salbegin"))
  DATA: salary = col(source(s), name("salary"))
  ELEMENT: point(position(salbegin*salary))
END GPL.

* 8. Salary by years of education, from the cases, one chart per gender.
SPLIT FILE BY gender.
GGRAPH
  /GRAPHDATASET NAME="cases" VARIABLES=educ salary
  /GRAPHSPEC SOURCE=INLINE LABEL="Salary by education".
BEGIN GPL
  SOURCE: s = userSource(id("cases"))
  DATA: educ = col(source(s), name("educ"))
  DATA: salary = col(source(s), name("salary"))
  ELEMENT: point(position(educ*salary))
END GPL.
SPLIT FILE OFF.

* 9. Salary by employment category as box plots, the outliers labelled by their case number.
GGRAPH
  /GRAPHDATASET NAME="cases" VARIABLES=jobcat salary
  /GRAPHSPEC SOURCE=INLINE LABEL="Salary by employment category".
BEGIN GPL
  SOURCE: s = userSource(id("cases"))
  DATA: jobcat = col(source(s), name("jobcat"), unit.category())
  DATA: salary = col(source(s), name("salary"))
  DATA: id = col(source(s), name("$CASENUM"), unit.category())
  ELEMENT: schema(position(bin.quantile.letter(jobcat*salary)), label(id))
END GPL.

* 10. The distribution of salaries, with the normal curve of the same mean and spread.
GGRAPH
  /GRAPHDATASET NAME="cases" VARIABLES=salary
  /GRAPHSPEC SOURCE=INLINE LABEL="Distribution of current salary".
BEGIN GPL
  SOURCE: s = userSource(id("cases"))
  DATA: salary = col(source(s), name("salary"))
  GUIDE: axis(dim(2), label("Frequency"))
  ELEMENT: interval(position(summary.count(bin.rect(salary))))
  ELEMENT: line(position(density.normal(salary)), color(color.black))
END GPL.

* 11. A chart from the template library (templates/): the template's slots are filled from
* the MAPPING, no GPL needed.
GGRAPH
  /GRAPHDATASET NAME="pay" VARIABLES=jobcat gender MEAN(salary)
  /GRAPHSPEC SOURCE=VIZTEMPLATE(NAME="Clustered Bar"[LOCATION=LOCAL]
     MAPPING("x"="jobcat" "y"="MEAN_salary" "color"="gender"))
     LABEL="Mean salary by category and gender (template)".

* 12. A map from a template: mean revenue of the stores of each state (examples/data/stores.csv,
* the dataset "stores"), joined to the shipped map of the states by name; Alaska and Hawaii as
* insets.
GGRAPH
  /GRAPHDATASET NAME="bystate" DATASET="stores" VARIABLES=state MEAN(revenue)
  /GRAPHSPEC SOURCE=VIZTEMPLATE(NAME="Choropleth of Means"[LOCATION=LOCAL]
     MAPPING("key"="state" "color"="MEAN_revenue"))
     VIZMAP="UnitedStates"[LOCATION=LOCAL TYPE=DATA MAPKEY="name" SHOWALLFEATURES=YES]
     LABEL="Mean store revenue by state".

* 13. A world map of mean growth over two years (examples/data/countries.csv, the dataset
* "countries"); countries without figures are grey.
GGRAPH
  /GRAPHDATASET NAME="bycountry" DATASET="countries" VARIABLES=country MEAN(growth)
  /GRAPHSPEC SOURCE=INLINE LABEL="Mean growth by country".
BEGIN GPL
  SOURCE: s = userSource(id("bycountry"))
  SOURCE: m = mapSource(map("World"), showAllFeatures())
  DATA: country = col(source(s), name("country"), unit.category())
  DATA: growth = col(source(s), name("MEAN_growth"))
  PAGE: begin(scale(800px, 450px))
  GUIDE: text.title(label("Mean growth, 2022 and 2023"))
  GUIDE: legend(aesthetic(aesthetic.color.interior), label("Growth (%)"))
  ELEMENT: polygon(position(feature(country)), color.interior(growth))
  PAGE: end()
END GPL.

* 14. The lowest and highest store revenue of each state, each point labelled with its state:
* the labels are placed beside their points so that none covers another label or point; the
* few in the crowd of the north-east find no room, and a warning says how many.
GGRAPH
  /GRAPHDATASET NAME="states" DATASET="stores" VARIABLES=state MINIMUM(revenue) MAXIMUM(revenue)
  /GRAPHSPEC SOURCE=INLINE LABEL="Lowest and highest store revenue by state".
BEGIN GPL
  SOURCE: s = userSource(id("states"))
  DATA: state = col(source(s), name("state"), unit.category())
  DATA: lowest = col(source(s), name("MINIMUM_revenue"))
  DATA: highest = col(source(s), name("MAXIMUM_revenue"))
  PAGE: begin(scale(960px, 720px))
  GUIDE: axis(dim(1), label("Lowest revenue of a store"))
  GUIDE: axis(dim(2), label("Highest revenue of a store"))
  GUIDE: text.title(label("Lowest and highest store revenue by state"))
  ELEMENT: point(position(lowest*highest), label(state))
  PAGE: end()
END GPL.

* 15. A bubble chart: mean salary by years of education and employment category, each bubble
* sized by the number of employees it stands for, with a size key under the colours.
GGRAPH
  /GRAPHDATASET NAME="byeduc" VARIABLES=educ jobcat MEAN(salary) COUNT()[NAME="employees"]
  /GRAPHSPEC SOURCE=INLINE LABEL="Mean salary by education and category".
BEGIN GPL
  SOURCE: s = userSource(id("byeduc"))
  DATA: educ = col(source(s), name("educ"))
  DATA: jobcat = col(source(s), name("jobcat"), unit.category())
  DATA: salary = col(source(s), name("MEAN_salary"))
  DATA: employees = col(source(s), name("employees"))
  SCALE: linear(aesthetic(aesthetic.size), aestheticMinimum(size."6px"), aestheticMaximum(size."40px"))
  GUIDE: axis(dim(1), label("Years of education"))
  GUIDE: axis(dim(2), label("Mean salary"))
  GUIDE: legend(aesthetic(aesthetic.size), label("Employees"))
  GUIDE: text.title(label("Mean salary by education and category"))
  ELEMENT: point(position(educ*salary), color.interior(jobcat), size(employees), transparency.interior(transparency."0.25"))
END GPL.

* 16. Three variables at once: beginning salary, current salary and education, in a box drawn
* in oblique projection, coloured by employment category.
GGRAPH
  /GRAPHDATASET NAME="cases" VARIABLES=salbegin salary educ jobcat
  /GRAPHSPEC SOURCE=INLINE LABEL="Salaries and education in three dimensions".
BEGIN GPL
  SOURCE: s = userSource(id("cases"))
  DATA: salbegin = col(source(s), name("salbegin"))
  DATA: salary = col(source(s), name("salary"))
  DATA: educ = col(source(s), name("educ"))
  DATA: jobcat = col(source(s), name("jobcat"), unit.category())
  COORD: rect(dim(1,2,3))
  GUIDE: axis(dim(1), label("Beginning salary"))
  GUIDE: axis(dim(2), label("Current salary"))
  GUIDE: axis(dim(3), label("Education (years)"))
  GUIDE: legend(aesthetic(aesthetic.color.interior), label("Employment category"))
  ELEMENT: point(position(salbegin*salary*educ), color(jobcat), size(size."6px"))
END GPL.

* 17. Current against beginning salary with the distribution of each at the margins: three
* graphs on one page, each in its own place. Graphs in one column of the page share their
* horizontal axis, graphs in one row their vertical one.
GGRAPH
  /GRAPHDATASET NAME="cases" VARIABLES=salbegin salary
  /GRAPHSPEC SOURCE=INLINE LABEL="Current by beginning salary, with margins".
BEGIN GPL
  SOURCE: s = userSource(id("cases"))
  DATA: salbegin = col(source(s), name("salbegin"))
  DATA: salary = col(source(s), name("salary"))
  GUIDE: text.title(label("Current by beginning salary"))
  GRAPH: begin(origin(0%, 30%), scale(76%, 70%))
    GUIDE: axis(dim(1), label("Beginning salary"))
    GUIDE: axis(dim(2), label("Current salary"))
    ELEMENT: point(position(salbegin*salary), transparency(transparency."0.5"))
  GRAPH: end()
  GRAPH: begin(origin(0%, 8%), scale(76%, 22%))
    GUIDE: axis(dim(1), null())
    GUIDE: axis(dim(2), label("Count"))
    ELEMENT: interval(position(summary.count(bin.rect(salbegin))))
  GRAPH: end()
  GRAPH: begin(origin(78%, 30%), scale(22%, 70%))
    COORD: rect(dim(1,2), transpose())
    GUIDE: axis(dim(1), null())
    GUIDE: axis(dim(2), label("Count"))
    ELEMENT: interval(position(summary.count(bin.rect(salary))))
  GRAPH: end()
END GPL.

* 18. A deliberate mistake: GGRAPH has no STYLE subcommand, and the report says so.
GGRAPH
  /GRAPHSPEC SOURCE=INLINE
  /STYLE COLOR=BLUE.
BEGIN GPL
  ELEMENT: point(position(x*y))
END GPL.
