/** \file
 * Named codes for the CX_ entry points and the ChartXml operations: the
 * vocabulary codes (the predefined string handles that name the fixed words
 * of the chart description), the role codes of dimensions and facets, and
 * the summary functions of variables, the display format types and the chart
 * kinds.
 * Usable from C and C++; Fortran programs include the generated
 * chartxml/cx_codes.fi, which gives each name as an integer(c_int64_t)
 * parameter.
 *
 * Each list is an X-macro: CX_WORD_LIST(ENTRY) calls ENTRY(NAME, code) once
 * per word, so that a program can make tables of its own from it; the
 * enumerations below are made from the lists. A word's name is its text in
 * capitals, words of a camel-case text joined by "_" ("styleBy" is
 * CX_WORD_STYLE_BY). Codes 46 and 124 name nothing.
 */
#ifndef CHARTXML_CODES_H_
#define CHARTXML_CODES_H_

/* clang-format off */
/** The vocabulary words, ENTRY(NAME, code) each, the text in the comment:
 * cx_word's enumerators are CX_WORD_ and the NAME. */
#define CX_WORD_LIST(ENTRY) \
  ENTRY(AXISX, 1)                          /* "axisx" */ \
  ENTRY(AXISY, 2)                          /* "axisy" */ \
  ENTRY(AXISZ, 3)                          /* "axisz" */ \
  ENTRY(AXISR, 4)                          /* "axisr" */ \
  ENTRY(AXISPHI, 5)                        /* "axisphi" */ \
  ENTRY(AXISTHETA, 6)                      /* "axistheta" */ \
  ENTRY(AXISXTICK, 7)                      /* "axisxtick" */ \
  ENTRY(AXISYTICK, 8)                      /* "axisytick" */ \
  ENTRY(AXISZTICK, 9)                      /* "axisztick" */ \
  ENTRY(AXISRTICK, 10)                     /* "axisrtick" */ \
  ENTRY(DATA, 11)                          /* "data" */ \
  ENTRY(ELEMENT, 12)                       /* "element" */ \
  ENTRY(FOOTNOTE, 13)                      /* "footnote" */ \
  ENTRY(GRAPH, 14)                         /* "graph" */ \
  ENTRY(LEGEND, 15)                        /* "legend" */ \
  ENTRY(SUBTITLE, 16)                      /* "subtitle" */ \
  ENTRY(TITLE, 17)                         /* "title" */ \
  ENTRY(AREA, 18)                          /* "area" */ \
  ENTRY(CONTOUR, 19)                       /* "contour" */ \
  ENTRY(INTERVAL, 20)                      /* "interval" */ \
  ENTRY(LINE, 21)                          /* "line" */ \
  ENTRY(PATH, 22)                          /* "path" */ \
  ENTRY(POINT, 23)                         /* "point" */ \
  ENTRY(SCHEMA, 24)                        /* "schema" */ \
  ENTRY(TILE, 25)                          /* "tile" */ \
  ENTRY(AUTO, 26)                          /* "auto" */ \
  ENTRY(CENTER, 27)                        /* "center" */ \
  ENTRY(NEGATIVE, 28)                      /* "negative" */ \
  ENTRY(POSITIVE, 29)                      /* "positive" */ \
  ENTRY(TRANSPOSE, 30)                     /* "transpose" */ \
  ENTRY(POLAR, 31)                         /* "polar" */ \
  ENTRY(INSIDE, 32)                        /* "inside" */ \
  ENTRY(OUTSIDE, 33)                       /* "outside" */ \
  ENTRY(CROSS, 34)                         /* "cross" */ \
  ENTRY(COLOR, 35)                         /* "color" */ \
  ENTRY(STYLE_BY, 36)                      /* "styleBy" */ \
  ENTRY(NEST, 37)                          /* "nest" */ \
  ENTRY(BLEND, 38)                         /* "blend" */ \
  ENTRY(EXACT, 39)                         /* "exact" */ \
  ENTRY(NICE, 40)                          /* "nice" */ \
  ENTRY(SIMPLEBAR, 41)                     /* "simplebar" */ \
  ENTRY(STACKEDBAR, 42)                    /* "stackedbar" */ \
  ENTRY(SIMPLELINE, 43)                    /* "simpleline" */ \
  ENTRY(HISTOGRAM, 44)                     /* "histogram" */ \
  ENTRY(AREABAR, 45)                       /* "areabar" */ \
  ENTRY(BINS, 47)                          /* "bins" */ \
  ENTRY(MIN, 48)                           /* "min" */ \
  ENTRY(MAX, 49)                           /* "max" */ \
  ENTRY(REFERENCE_LINE, 50)                /* "referenceLine" */ \
  ENTRY(X1, 51)                            /* "x1" */ \
  ENTRY(Y1, 52)                            /* "y1" */ \
  ENTRY(X2, 53)                            /* "x2" */ \
  ENTRY(Y2, 54)                            /* "y2" */ \
  ENTRY(X_VARIABLE, 55)                    /* "X Variable" */ \
  ENTRY(Y_VARIABLE, 56)                    /* "Y Variable" */ \
  ENTRY(SERIES, 57)                        /* "series" */ \
  ENTRY(NMV, 58)                           /* "nmv" */ \
  ENTRY(WGT, 59)                           /* "wgt" */ \
  ENTRY(ELEMENT_GROUP, 60)                 /* "elementGroup" */ \
  ENTRY(BOXPLOT, 61)                       /* "boxplot" */ \
  ENTRY(TUKEY_INNER_FENCE, 62)             /* "tukeyInnerFence" */ \
  ENTRY(TUKEY_HINGES, 63)                  /* "tukeyHinges" */ \
  ENTRY(MEDIAN, 64)                        /* "median" */ \
  ENTRY(TUKEY_OUTLIERS, 65)                /* "tukeyOutliers" */ \
  ENTRY(TUKEY_EXTREMES, 66)                /* "tukeyExtremes" */ \
  ENTRY(RANGE, 67)                         /* "range" */ \
  ENTRY(RANGEBAR, 68)                      /* "rangebar" */ \
  ENTRY(ERRORBAR, 69)                      /* "errorbar" */ \
  ENTRY(DIFFERENCELINE, 70)                /* "differenceline" */ \
  ENTRY(TYPE, 71)                          /* "type" */ \
  ENTRY(NORMAL, 72)                        /* "normal" */ \
  ENTRY(DISTRIBUTION, 73)                  /* "distribution" */ \
  ENTRY(CONTROLCHART_AVERAGE, 74)          /* "controlchart_Average" */ \
  ENTRY(CONTROLCHART_LCL, 75)              /* "controlchart_LCL" */ \
  ENTRY(CONTROLCHART_LSPEC, 76)            /* "controlchart_LSpec" */ \
  ENTRY(CONTROLCHART_LINE, 77)             /* "controlchart_line" */ \
  ENTRY(CONTROLCHART_MARKER, 78)           /* "controlchart_marker" */ \
  ENTRY(CONTROLCHART_UCL, 79)              /* "controlchart_UCL" */ \
  ENTRY(CONTROLCHART_USPEC, 80)            /* "controlchart_USpec" */ \
  ENTRY(BARMARGIN, 81)                     /* "barmargin" */ \
  ENTRY(GROUPBARMARGIN, 82)                /* "groupbarmargin" */ \
  ENTRY(BOXPLOTMARGIN, 83)                 /* "boxplotmargin" */ \
  ENTRY(HISTOGRAMMARGIN, 84)               /* "histogrammargin" */ \
  ENTRY(ISOTROPIC, 85)                     /* "isotropic" */ \
  ENTRY(NONE, 86)                          /* "none" */ \
  ENTRY(STACK, 87)                         /* "stack" */ \
  ENTRY(DODGE, 88)                         /* "dodge" */ \
  ENTRY(MINUS_INTERSECTION, 89)            /* "minusIntersection" */ \
  ENTRY(MATRIXSCATTER, 90)                 /* "matrixscatter" */ \
  ENTRY(MATRIXSCATTERX, 91)                /* "matrixscatterx" */ \
  ENTRY(MATRIXSCATTERY, 92)                /* "matrixscattery" */ \
  ENTRY(NATURAL, 93)                       /* "natural" */ \
  ENTRY(SIMPLEAREA, 94)                    /* "simplearea" */ \
  ENTRY(STACKEDAREA, 95)                   /* "stackedarea" */ \
  ENTRY(SCATTER, 96)                       /* "scatter" */ \
  ENTRY(BIPLOT_LINE, 97)                   /* "biplot_line" */ \
  ENTRY(BIPLOT_POINT, 98)                  /* "biplot_point" */ \
  ENTRY(TRIPLOT_LINE, 99)                  /* "triplot_line" */ \
  ENTRY(TRIPLOT_POINT, 100)                /* "triplot_point" */ \
  ENTRY(CENTROID, 101)                     /* "centroid" */ \
  ENTRY(DROPDOWNLINE, 102)                 /* "dropdownline" */ \
  ENTRY(STYLE_CYCLE_DEFAULT, 103)          /* "styleCycleDefault" */ \
  ENTRY(RECTANGULAR, 104)                  /* "rectangular" */ \
  ENTRY(THETA, 105)                        /* "theta" */ \
  ENTRY(PHI, 106)                          /* "phi" */ \
  ENTRY(FRAME, 107)                        /* "frame" */ \
  ENTRY(PLANE, 108)                        /* "plane" */ \
  ENTRY(COMPLETE, 109)                     /* "complete" */ \
  ENTRY(FALSE, 110)                        /* "false" */ \
  ENTRY(SUM, 111)                          /* "sum" */ \
  ENTRY(CUMULATIVE_SUM, 112)               /* "cumulativeSum" */ \
  ENTRY(CONTROLCHART_CENTER_STEP_LCL, 113) /* "controlchart_Center_Step_LCL" */ \
  ENTRY(CONTROLCHART_CENTER_STEP_UCL, 114) /* "controlchart_Center_Step_UCL" */ \
  ENTRY(POWER, 115)                        /* "power" */ \
  ENTRY(LOG, 116)                          /* "log" */ \
  ENTRY(UTF_BASE, 117)                     /* "UTF_base" */ \
  ENTRY(EXPONENT, 118)                     /* "exponent" */ \
  ENTRY(MANOVA_LINE, 119)                  /* "manova_line" */ \
  ENTRY(MANOVA_POINT, 120)                 /* "manova_point" */ \
  ENTRY(ALL, 121)                          /* "all" */ \
  ENTRY(MATRIXSCATTERINNERX, 122)          /* "matrixscatterinnerx" */ \
  ENTRY(MATRIXSCATTERINNERY, 123)          /* "matrixscatterinnery" */ \
  ENTRY(YZPLANE, 125)                      /* "yzplane" */ \
  ENTRY(XZPLANE, 126)                      /* "xzplane" */ \
  ENTRY(XYPLANE, 127)                      /* "xyplane" */ \
  ENTRY(X, 128)                            /* "x" */ \
  ENTRY(Y, 129)                            /* "y" */ \
  ENTRY(Z, 130)                            /* "z" */ \
  ENTRY(MEAN, 131)                         /* "mean" */ \
  ENTRY(SURVIVAL_LINE, 132)                /* "survival_line" */ \
  ENTRY(SURVIVAL_POINT, 133)               /* "survival_point" */ \
  ENTRY(SURVIVAL_CENSORED, 134)            /* "survival_censored" */ \
  ENTRY(CASENUM, 135)                      /* "casenum" */ \
  ENTRY(MATRIXSCATTERDIAGONAL, 136)        /* "matrixscatterdiagonal" */ \
  ENTRY(ZETA, 137)                         /* "zeta" */ \
  ENTRY(DISTANCE, 138)                     /* "distance" */ \
  ENTRY(HIDDENLINE, 139)                   /* "hiddenline" */ \
  ENTRY(COUNTNAME, 140)                    /* "countname" */ \
  ENTRY(PERCENTNAME, 141)                  /* "percentname" */ \
  ENTRY(Y_FUNCTION_OF_X, 142)              /* "yFunctionOfX" */ \
  ENTRY(FUNCTION, 143)                     /* "function" */ \
  ENTRY(NUM_POINTS, 144)                   /* "numPoints" */ \
  ENTRY(AIMCENTERSTEP, 145)                /* "aimcenterstep" */ \
  ENTRY(CLUSTEREDBAR, 146)                 /* "clusteredbar" */ \
  ENTRY(CATEGORIES, 147)                   /* "categories" */ \
  ENTRY(Y_AXIS, 148)                       /* "Y Axis" */ \
  ENTRY(PANEL, 149)                        /* "panel" */ \
  ENTRY(STACKINTERPOLATING, 150)           /* "stackinterpolating" */ \
  ENTRY(ERRORBARHIDDEN, 151)               /* "errorbarhidden" */ \
  ENTRY(FACET_LABEL_ANGLE, 152)            /* "facetLabelAngle" */ \
  ENTRY(FACET_GAP, 153)                    /* "facetGap" */ \
  ENTRY(FACET_GAP_VERT, 154)               /* "facetGapVert" */ \
  ENTRY(X_AXIS, 155)                       /* "X Axis" */ \
  ENTRY(DOT, 156)                          /* "dot" */

/** The roles, ENTRY(NAME, code) each: cx_role's enumerators are CX_ROLE_ and
 * the NAME. */
#define CX_ROLE_LIST(ENTRY) \
  ENTRY(X, 1)                              /* "x" */ \
  ENTRY(Y, 2)                              /* "y" */ \
  ENTRY(Z, 3)                              /* "z" */ \
  ENTRY(R, 4)                              /* "r" */ \
  ENTRY(THETA, 5)                          /* "theta" */ \
  ENTRY(PHI, 6)                            /* "phi" */ \
  ENTRY(POSITION, 7)                       /* "position" */
/** The summary functions, ENTRY(NAME, code) each, the description written
 * and its parameters in the comment: cx_summary's enumerators are
 * CX_SUMMARY_ and the NAME. */
#define CX_SUMMARY_LIST(ENTRY) \
  ENTRY(CUSTOM_STATISTIC, -1)               /* "customStatistic" */ \
  ENTRY(NUMBER_OF_CASES, 1)                 /* "numberOfCases" */ \
  ENTRY(MINIMUM_VALUE, 3)                   /* "minimumValue" */ \
  ENTRY(MAXIMUM_VALUE, 4)                   /* "maximumValue" */ \
  ENTRY(VALID_N, 5)                         /* "validN" */ \
  ENTRY(SUM_OF_VALUES, 6)                   /* "sumOfValues" */ \
  ENTRY(CUMULATIVE_SUM, 7)                  /* "cumulativeSum" */ \
  ENTRY(MEAN_OF_VALUES, 8)                  /* "meanOfValues" */ \
  ENTRY(STANDARD_DEVIATION, 9)              /* "standardDeviation" */ \
  ENTRY(VARIANCE, 10)                       /* "variance" */ \
  ENTRY(MEDIAN_OF_VALUES, 11)               /* "medianOfValues" */ \
  ENTRY(MODE_OF_VALUES, 12)                 /* "modeOfValues" */ \
  ENTRY(PERCENTAGE_OF_CASES, 13)            /* "percentageOfCases" */ \
  ENTRY(CUMULATIVE_PERCENTAGE_OF_CASES, 14) /* "cumulativePercentageOfCases" */ \
  ENTRY(CUMULATIVE_NUMBER_OF_CASES, 16)     /* "cumulativeNumberOfCases" */ \
  ENTRY(PERCENTILE, 17)                     /* "percentile; p1" */ \
  ENTRY(PERCENTAGE_BELOW, 18)               /* "percentageBelow; p1" */ \
  ENTRY(PERCENTAGE_ABOVE, 19)               /* "percentageAbove; p1" */ \
  ENTRY(NUMBER_BELOW, 20)                   /* "numberBelow; p1" */ \
  ENTRY(NUMBER_ABOVE, 21)                   /* "numberAbove; p1" */ \
  ENTRY(PERCENTAGE_INSIDE, 22)              /* "percentageInside; p1; p2" */ \
  ENTRY(NUMBER_INSIDE, 23)                  /* "numberInside; p1; p2" */ \
  ENTRY(G_MEDIAN, 25)                       /* "gMedian; p1" */ \
  ENTRY(G_PTILE, 26)                        /* "gPtile; p1" */
/** The display format types, ENTRY(NAME, type) each, an example in the
 * comment: cx_format's enumerators are CX_FORMAT_ and the NAME. */
#define CX_FORMAT_LIST(ENTRY) \
  ENTRY(STRING, 1)                         /* text as it is */ \
  ENTRY(GROUPED, 3)                        /* 1,234.50 */ \
  ENTRY(DOLLAR, 4)                         /* $1,234.50 */ \
  ENTRY(FIXED, 5)                          /* 1234.50 */ \
  ENTRY(PERCENT, 6)                        /* 1234.50% */ \
  ENTRY(SCIENTIFIC, 7)                     /* 1.23E+03 */ \
  ENTRY(ZERO_PADDED, 15)                   /* 001234, width digits */ \
  ENTRY(UNPADDED_FIXED, 16)                /* 1234.50, no width padding */ \
  ENTRY(DOT_GROUPED, 17)                   /* 1.234,50 */ \
  ENTRY(DATE_DMY, 20)                      /* 26-SEP-1994 */ \
  ENTRY(DATE_MDY, 21)                      /* 09/26/1994 */ \
  ENTRY(DATE_DOTTED, 22)                   /* 26.09.1994 */ \
  ENTRY(DATE_YMD, 23)                      /* 1994/09/26 */ \
  ENTRY(DATE_TIME, 24)                     /* 26-SEP-1994 23:06:40 */ \
  ENTRY(DURATION, 25)                      /* 23:06:40, a span of time */ \
  ENTRY(MONTH_YEAR, 26)                    /* SEP 1994 */ \
  ENTRY(QUARTER, 27)                       /* 3 Q 1994 */ \
  ENTRY(WEEKDAY, 28)                       /* Monday */ \
  ENTRY(MONTH_NAME, 29)                    /* September */ \
  ENTRY(ISO_DATE_TIME, 30)                 /* 1994-09-26T23:06:40 */ \
  ENTRY(CURRENCY_A, 31)                    /* CCA 1,234.50 */ \
  ENTRY(CURRENCY_B, 32)                    /* CCB 1,234.50 */ \
  ENTRY(CURRENCY_C, 33)                    /* CCC 1,234.50 */ \
  ENTRY(CURRENCY_D, 34)                    /* CCD 1,234.50 */ \
  ENTRY(CURRENCY_E, 35)                    /* CCE 1,234.50 */ \
  ENTRY(ACCOUNTING, 36)                    /* (1,234.50) when negative */ \
  ENTRY(TRAILING_MINUS, 37)                /* 1234.50- when negative */
/** The chart kinds, ENTRY(NAME, code) each: cx_chart's enumerators are
 * CX_CHART_ and the NAME. */
#define CX_CHART_LIST(ENTRY) \
  ENTRY(ICICLE, 1)                         /* interval levels stacked across */ \
  ENTRY(ICICLE_VERTICAL, 2)                /* interval levels stacked upwards */
/* clang-format on */

#define CX_CODES_ENUMERATOR_(prefix, name, code) prefix##name = code,
#define CX_WORD_ENUMERATOR_(name, code) CX_CODES_ENUMERATOR_(CX_WORD_, name, code)
#define CX_ROLE_ENUMERATOR_(name, code) CX_CODES_ENUMERATOR_(CX_ROLE_, name, code)
#define CX_SUMMARY_ENUMERATOR_(name, code) CX_CODES_ENUMERATOR_(CX_SUMMARY_, name, code)
#define CX_FORMAT_ENUMERATOR_(name, code) CX_CODES_ENUMERATOR_(CX_FORMAT_, name, code)
#define CX_CHART_ENUMERATOR_(name, code) CX_CODES_ENUMERATOR_(CX_CHART_, name, code)

/** The vocabulary codes: CX_WORD_TITLE is 17, the string handle of "title". */
enum cx_word { CX_WORD_LIST(CX_WORD_ENUMERATOR_) };

/** The role codes: the axis a dimension or facet variable stands for. */
enum cx_role { CX_ROLE_LIST(CX_ROLE_ENUMERATOR_) };

/** The summary functions of SetSummaryFunction (CX_SETSUMMARYFUNCTION): the
 * statistic a variable shows, each written as the description its name
 * spells, with the one or two parameters it takes. Code 15 is written as
 * CX_SUMMARY_NUMBER_OF_CASES; 0, 2 and 24 are refused. */
enum cx_summary { CX_SUMMARY_LIST(CX_SUMMARY_ENUMERATOR_) };

#undef CX_WORD_ENUMERATOR_
#undef CX_ROLE_ENUMERATOR_
/** The display format types: the type part of a display format code, which
 * packs type, width and decimals as CX_FORMAT_CODE makes them
 * (SetVariableFormat, GetVariableFormat, LRValue). The comments show 1234.5
 * with 2 decimals, and the dates and times 26 September 1994, 23:06:40.
 * Types from CX_FORMAT_DATE_DMY to CX_FORMAT_ISO_DATE_TIME show a point in
 * time (seconds since 14 October 1582), except CX_FORMAT_DURATION, which shows
 * a number of seconds. Codes not listed show the value as it is. */
enum cx_format { CX_FORMAT_LIST(CX_FORMAT_ENUMERATOR_) };

/** A display format code from its type, width (1 to 40) and decimals. */
#define CX_FORMAT_CODE(type, width, decimals) (((type) << 16) | ((width) << 8) | (decimals))
/** The type of a display format code. */
#define CX_FORMAT_TYPE(code) ((code) >> 16)

/** The chart kinds of SetChartType (CX_SETCHARTTYPE): a chart whose intervals
 * are drawn as an icicle plot, levels across or upwards. A chart whose kind is
 * not set is drawn as its elements say. */
enum cx_chart { CX_CHART_LIST(CX_CHART_ENUMERATOR_) };

#undef CX_SUMMARY_ENUMERATOR_
#undef CX_FORMAT_ENUMERATOR_
#undef CX_CHART_ENUMERATOR_
#undef CX_CODES_ENUMERATOR_

#endif /* CHARTXML_CODES_H_ */
