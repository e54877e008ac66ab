/* A procedure written in C: reads cars.csv (model, weight, mpg,
 * transmission) and sends two charts through the CX_ entry points,
 *   1. mpg by weight, one point per car, coloured by transmission;
 *   2. bars of the mean mpg of each transmission;
 * into an output folder, where the host's sink writes each chart's document
 * (chart-NNNN.xml) and data (chart-NNNN.source0.csv). Built with the
 * renderer (HAVE_CHARTXML_RENDER), it also draws each chart as a PNG there.
 *
 * usage: cars DATA.csv OUTPUT_DIR
 *
 * Every CX_ call returns -1 on failure after reporting why to the host's
 * report log; this program stops at the first one and prints the log. */
#define _POSIX_C_SOURCE 200809L
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "chartxml/chartxml_host.h"
#include "chartxml/codes.h"
#include "chartxml/cx.h"
#ifdef HAVE_CHARTXML_RENDER
#include "chartxml/render.h"
#endif

/* The columns of cars.csv, 0-based, as the host's data source numbers them. */
enum { MODEL, WEIGHT, MPG, TRANSMISSION };

typedef struct Car {
  double weight, mpg;
  int manual; /* 0 automatic, 1 manual */
} Car;

/* The entry points take every argument by address: these are the constants
 * they are given. */
static const int64_t kNone = -1, kNo = 0, kYes = 1, kFirst = 1;

static void print_reports(void) {
  for (int i = 0; i < cxh_report_count(); ++i) {
    fprintf(stderr, "  %s:%d: %s\n", cxh_report_source(i), cxh_report_line(i),
            cxh_report_message(i));
  }
}

/* A failed step ends the program: the host's log says why. */
static int64_t need(int64_t status, const char* step) {
  if (status < 0) {
    fprintf(stderr, "cars: %s failed; the host reported:\n", step);
    print_reports();
    exit(EXIT_FAILURE);
  }
  return status;
}

/* A text that is shown as it is (not looked up in the string tables). */
static int64_t text(const char* s) {
  const int64_t length = (int64_t)strlen(s);
  return need(CX_NSTRINGNOTRANSLATE(s, &length), "CX_NSTRINGNOTRANSLATE");
}

/* Reads the rows of PATH into a new array; the count goes to *COUNT. The
 * host reads the same file for the columns' names and labels, but hands no
 * values back: the procedure feeds the rows itself. NULL on failure,
 * reported with the file and line. */
static Car* read_cars(const char* path, int* count) {
  FILE* file = fopen(path, "r");
  if (file == NULL) {
    fprintf(stderr, "cars: cannot open %s: %s\n", path, strerror(errno));
    return NULL;
  }
  Car* cars = NULL;
  int used = 0, capacity = 0, line = 0;
  char buffer[512];
  while (fgets(buffer, sizeof buffer, file) != NULL) {
    if (++line == 1) continue; /* the header */
    char model[128], transmission[32];
    Car car;
    if (sscanf(buffer, "%127[^,],%lf,%lf,%31[a-z]", model, &car.weight, &car.mpg, transmission) !=
            4 ||
        (strcmp(transmission, "manual") != 0 && strcmp(transmission, "automatic") != 0)) {
      fprintf(stderr, "cars: %s:%d: expected MODEL,WEIGHT,MPG,automatic|manual\n", path, line);
      free(cars);
      fclose(file);
      return NULL;
    }
    car.manual = strcmp(transmission, "manual") == 0;
    if (used == capacity) {
      capacity = capacity == 0 ? 64 : 2 * capacity;
      Car* grown = realloc(cars, (size_t)capacity * sizeof *cars);
      if (grown == NULL) {
        fprintf(stderr, "cars: out of memory reading %s\n", path);
        free(cars);
        fclose(file);
        return NULL;
      }
      cars = grown;
    }
    cars[used++] = car;
  }
  const int failed = ferror(file);
  fclose(file);
  if (failed || used == 0) {
    fprintf(stderr, "cars: %s: %s\n", path, failed ? "read error" : "no rows");
    free(cars);
    return NULL;
  }
  *count = used;
  return cars;
}

/* A variable for a column of the data source, fed with the rows below. */
static int64_t variable(int64_t chart, int64_t source, int64_t column, int64_t categorical) {
  return need(CX_ADDVARIABLE(&chart, &source, &column, &categorical), "CX_ADDVARIABLE");
}

/* The axis titled by the column's label from the data dictionary. */
static void label_axis(int64_t chart, int64_t axis, int64_t column) {
  const int64_t label = need(CX_VARIABLELABEL(&column), "CX_VARIABLELABEL");
  need(CX_ADDLABEL(&chart, &axis, &kNone, &label), "CX_ADDLABEL");
}

/* A new chart with its title: the chart, its data source and its frames. */
static void create(VORN_FortranDictionary* dictionary, const char* title, int64_t* chart,
                   int64_t* source, int64_t* graph, int64_t* data) {
  /* All-ones data: "the dictionary is the data source itself". */
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 4, titleKind = CX_WORD_TITLE;
  need(CX_CREATECHARTEX(allOnes, &dictionary, "CARS", &nameLength, chart, source, graph, data),
       "CX_CREATECHARTEX");
  const int64_t label = text(title);
  need(CX_ADDFRAMEWITHLABEL(chart, graph, &titleKind, &kFirst, &label, NULL),
       "CX_ADDFRAMEWITHLABEL");
}

/* One row per car: the numbers as numbers, the transmission as a text; a
 * variable handle of -1 is not in this chart and gets no values. */
static void feed(int64_t chart, int64_t source, const Car* cars, int count, int64_t weight,
                 int64_t mpg, int64_t transmission) {
  /* One handle per distinct text, made once. */
  const int64_t kinds[2] = {text("automatic"), text("manual")};
  for (int i = 0; i < count; ++i) {
    need(CX_ADDROW(&chart, &source), "CX_ADDROW");
    if (weight >= 0) {
      need(CX_ADDDOUBLEDATAVALUE(&chart, &source, &weight, &cars[i].weight),
           "CX_ADDDOUBLEDATAVALUE");
    }
    need(CX_ADDDOUBLEDATAVALUE(&chart, &source, &mpg, &cars[i].mpg), "CX_ADDDOUBLEDATAVALUE");
    need(CX_ADDDATAVALUE(&chart, &source, &transmission, &kinds[cars[i].manual]),
         "CX_ADDDATAVALUE");
  }
}

/* Chart 1: a point per car, mpg by weight, coloured by transmission, with a
 * legend of the colours. */
static void scatter(VORN_FortranDictionary* dictionary, const Car* cars, int count) {
  int64_t chart, source, graph, data;
  create(dictionary, "Fuel use by weight", &chart, &source, &graph, &data);
  const int64_t weight = variable(chart, source, WEIGHT, kNo);
  const int64_t mpg = variable(chart, source, MPG, kNo);
  const int64_t transmission = variable(chart, source, TRANSMISSION, kYes);

  int64_t xStyle, xAxis, yStyle, yAxis;
  need(CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &kNone, &kNone, &kNo, &kNo, &xStyle, &xAxis,
                                 &yStyle, &yAxis),
       "CX_ADDXYDIMENSIONWITHAXIS");
  label_axis(chart, xAxis, WEIGHT);
  label_axis(chart, yAxis, MPG);

  const int64_t point = CX_WORD_POINT, style = CX_WORD_SCATTER, color = CX_WORD_COLOR;
  int64_t element;
  need(CX_ADDXYELEMENTEX(&chart, &data, &kFirst, &point, &weight, &mpg, &style, &element),
       "CX_ADDXYELEMENTEX");
  need(CX_ADDCOLOR(&chart, &element, &transmission), "CX_ADDCOLOR");
  int64_t legendStyle, legend;
  need(CX_ADDLEGENDFRAME(&chart, &graph, &element, &kFirst, &color, NULL, &legendStyle, &legend),
       "CX_ADDLEGENDFRAME");
  label_axis(chart, legend, TRANSMISSION);

  feed(chart, source, cars, count, weight, mpg, transmission);
  need(CX_ENDCHART(&chart), "CX_ENDCHART"); /* completes and sends it */
}

/* Chart 2: a bar per transmission, as high as the mean mpg of its cars. The
 * host's chart engine computes the means from the rows. */
static void mean_bars(VORN_FortranDictionary* dictionary, const Car* cars, int count) {
  int64_t chart, source, graph, data;
  create(dictionary, "Mean fuel use by transmission", &chart, &source, &graph, &data);
  const int64_t transmission = variable(chart, source, TRANSMISSION, kYes);
  const int64_t mpg = variable(chart, source, MPG, kNo);

  int64_t xStyle, xAxis, yStyle, yAxis;
  need(CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &kNone, &kNone, &kNo, &kNo, &xStyle, &xAxis,
                                 &yStyle, &yAxis),
       "CX_ADDXYDIMENSIONWITHAXIS");
  label_axis(chart, xAxis, TRANSMISSION);
  const int64_t yTitle = text("Mean miles per US gallon");
  need(CX_ADDLABEL(&chart, &yAxis, &kNone, &yTitle), "CX_ADDLABEL");

  const int64_t interval = CX_WORD_INTERVAL, style = CX_WORD_SIMPLEBAR, mean = CX_WORD_MEAN;
  int64_t element;
  need(CX_ADDXYELEMENTEX(&chart, &data, &kFirst, &interval, &transmission, &mpg, &style, &element),
       "CX_ADDXYELEMENTEX");
  need(CX_ADDSTATISTIC(&chart, &element, &mean), "CX_ADDSTATISTIC");
  /* The y variable notes the same summary, for the chart's texts. */
  const int64_t summary = CX_SUMMARY_MEAN_OF_VALUES;
  const double unused = 0.0;
  need(CX_SETSUMMARYFUNCTION(&chart, &mpg, &summary, &unused, &unused), "CX_SETSUMMARYFUNCTION");

  feed(chart, source, cars, count, -1, mpg, transmission);
  need(CX_ENDCHART(&chart), "CX_ENDCHART");
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s DATA.csv OUTPUT_DIR\n", argv[0]);
    return 2;
  }
  const char* csv = argv[1];
  const char* out = argv[2];
  if (mkdir(out, 0777) != 0 && errno != EEXIST) {
    fprintf(stderr, "cars: cannot make %s: %s\n", out, strerror(errno));
    return 1;
  }

  int count = 0;
  Car* cars = read_cars(csv, &count);
  if (cars == NULL) return 1;

  /* The sink writes each sent chart into OUT; the data source gives the
   * library the columns' names, labels and formats. */
  cxh_set_output_dir(out);
  cxh_set_quiet(1); /* this program prints the reports itself */
  VORN_FortranDictionary* dictionary = cxh_open_csv(csv);
  if (dictionary == NULL) {
    fprintf(stderr, "cars: the host cannot read %s:\n", csv);
    print_reports();
    free(cars);
    return 1;
  }
  const int64_t nameLength = 4;
  void* const allOnes = (void*)~(uintptr_t)0;
  need(CX_INIT(allOnes, &dictionary, "CARS", &nameLength), "CX_INIT");
  scatter(dictionary, cars, count);
  mean_bars(dictionary, cars, count);
  need(CX_TERMINATE(), "CX_TERMINATE");
  cxh_close(dictionary);
  free(cars);

  int status = 0;
  for (int i = 0; i < cxh_sent_count(); ++i) {
    printf("chart %d: data in %s\n", i + 1, cxh_sent_data_path(i, "source0"));
#ifdef HAVE_CHARTXML_RENDER
    char picture[4096];
    snprintf(picture, sizeof picture, "%s/cars-%d.png", out, i + 1);
    if (cxr_render_sent(i, picture, NULL) != 0) {
      fprintf(stderr, "cars: %s\n", cxr_error());
      status = 1;
    } else {
      printf("chart %d: drawn in %s\n", i + 1, picture);
    }
#endif
  }
  return status;
}
