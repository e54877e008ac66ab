/* A procedure written in C: a whole chart through the CX_ entry points only,
 * from CX_INIT to CX_ENDCHART, checked against what the host was sent; then
 * the host draws it through the renderer's C functions. */
#define _POSIX_C_SOURCE 200809L
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "chartxml/chartxml_host.h"
#include "chartxml/codes.h"
#include "chartxml/cx.h"
#include "chartxml/render.h"

static int passed, failed;

static void check(int ok, const char* what) {
  if (ok) {
    ++passed;
  } else {
    ++failed;
    printf("FAILED: %s\n", what);
  }
}

static int contains(const char* text, const char* piece) {
  return text != NULL && strstr(text, piece) != NULL;
}

/* Every argument goes by address; the text arguments want their lengths. */
static int64_t text(const char* s) {
  const int64_t length = (int64_t)strlen(s);
  return CX_NSTRINGNOTRANSLATE(s, &length);
}

int main(void) {
  char path[] = "/tmp/cx_c_test_XXXXXX";
  const int fd = mkstemp(path);
  FILE* csv = fd < 0 ? NULL : fdopen(fd, "w");
  if (csv == NULL) {
    printf("0 passed, 1 failed\n");
    return 1;
  }
  fputs("x,y,region\n1,2.5,north\n2,,south\n3,7,north\n", csv);
  fclose(csv);

  VORN_FortranDictionary* dictionary = cxh_open_csv(path);
  check(dictionary != NULL, "the CSV source opens");
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5, zero = 0, one = 1, two = 2, yes = 1, no = 0, none = -1;
  const int64_t point = CX_WORD_POINT, elementKind = CX_WORD_ELEMENT;
  const int64_t colorAesthetic = CX_WORD_COLOR, titleKind = CX_WORD_TITLE;
  check(CX_INIT(allOnes, &dictionary, "CTEST", &nameLength) == 0, "CX_INIT");

  int64_t chart = -9, source = -9, graph = -9, data = -9;
  check(CX_CREATECHARTEX(allOnes, &dictionary, "CTEST", &nameLength, &chart, &source, &graph,
                         &data) == 0,
        "CX_CREATECHARTEX makes chart 0");
  const int64_t x = CX_ADDVARIABLE(&chart, &source, &zero, &no);
  const int64_t y = CX_ADDVARIABLE(&chart, &source, &one, &no);
  const int64_t region = CX_ADDVARIABLE(&chart, &source, &two, &yes);
  check(x > 0 && y > x && region > y, "three variables");

  const int64_t title = text("Y by X");
  check(CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL) > 0, "a title");
  int64_t style1 = -9, axis1 = -9, style2 = -9, axis2 = -9;
  check(CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &none, &none, &no, &no, &style1, &axis1, &style2,
                                  &axis2) > 0,
        "x and y dimensions with axes");
  int64_t element = -9;
  check(CX_ADDXYELEMENTEX(&chart, &data, &one, &point, &x, &y, &elementKind, &element) > 0,
        "a point element");
  check(CX_ADDCOLOR(&chart, &element, &region) > 0, "coloured by region");
  int64_t legendStyle = -9, legend = -9;
  check(CX_ADDLEGENDFRAME(&chart, &graph, &element, &one, &colorAesthetic, NULL, &legendStyle,
                          &legend) > 0,
        "a legend frame");

  /* "north" is one handle, given twice: the second time it is remembered. */
  const double xs[] = {1, 2, 3}, ys[] = {2.5, 0, 7};
  const int64_t north = text("north"), south = text("south");
  const int64_t* regions[] = {&north, &south, &north};
  for (int row = 0; row < 3; ++row) {
    check(CX_ADDROW(&chart, &source) == row + 1, "a row");
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &x, &xs[row]);
    if (row != 1) CX_ADDDOUBLEDATAVALUE(&chart, &source, &y, &ys[row]);
    check(CX_ADDDATAVALUE(&chart, &source, &region, regions[row]) == 0, "a string value");
  }
  const int64_t descriptionLength = 6, templateLength = 11;
  check(CX_SETCHARTDESCRIPTION(&chart, "Y by X", &descriptionLength) == 0, "a description");
  check(CX_SETCHARTTEMPLATE(&chart, "scatter.tpl", &templateLength) == 0, "a template");
  check(cxh_report_count() == 0, "nothing reported while building");
  /* A missing address is refused and reported; the row keeps its value. */
  check(CX_ADDDOUBLEDATAVALUE(&chart, &source, &x, NULL) == -1 && cxh_report_count() == 1 &&
            contains(cxh_report_message(0), "null argument address for CX_ADDDOUBLEDATAVALUE"),
        "a value without its address refused");
  check(CX_ADDROW(&chart, NULL) == -1 && cxh_report_count() == 2, "a row without its source");
  cxh_clear_reports();
  check(CX_ENDCHART(&chart) == 0, "CX_ENDCHART");

  check(cxh_sent_count() == 1, "one chart sent");
  const char* xml = cxh_sent_xml(0);
  check(contains(xml, "id=\"frame_graph_1\""), "the graph frame");
  check(contains(xml, "id=\"frame_title_1\""), "the title frame");
  check(contains(xml, ">Y by X</label>"), "the title text");
  check(contains(xml, "id=\"axis_axisx_1\"") && contains(xml, "id=\"axis_axisy_1\""), "axes");
  check(contains(xml, "upperMargin=\"5%\""), "the margins");
  check(contains(xml, "type=\"point\""), "the element");
  check(contains(xml, "aesthetic=\"color\""), "the legend target");
  check(strcmp(cxh_sent_description(0), "Y by X") == 0, "the description sent");
  check(strcmp(cxh_sent_template(0), "scatter.tpl") == 0, "the template sent");
  const char* rows = cxh_sent_data_csv(0, "source0");
  check(contains(rows, "\n1,2.5,north\n2,,south\n3,7,north\n"), "the data rows");

  /* What was sent passes the host's check; a reference to nothing does not,
   * and is reported where it is. */
  check(cxh_check_xml(xml, 1) == 0, "the sent chart is valid");
  check(cxh_check_xml(NULL, 1) == -1, "no document is refused");
  cxh_clear_reports();
  check(cxh_check_xml("<visualization><frame id=\"f\" style=\"none\"/></visualization>", 0) == 1 &&
            contains(cxh_report_message(0), "1:44: dangling reference: style=\"none\""),
        "a dangling style found at its place");
  cxh_clear_reports();

  /* The host draws what it was sent, whole or not at all. */
  char picture[64];
  snprintf(picture, sizeof picture, "/tmp/cx_c_test_%ld.png", (long)getpid());
  cxr_options options;
  cxr_default_options(&options);
  check(options.width == 800 && options.height == 600 && options.scale == 1, "default options");
  check(cxr_render_sent(0, picture, &options) == 0, "the sent chart drawn as PNG");
  check(strcmp(cxr_error(), "") == 0 && cxr_skipped_count() == 0, "drawn whole, no failure");
  FILE* png = fopen(picture, "rb");
  unsigned char signature[8] = {0};
  check(png != NULL && fread(signature, 1, 8, png) == 8 &&
            memcmp(signature, "\x89PNG\r\n\x1a\n", 8) == 0,
        "a PNG file");
  if (png != NULL) fclose(png);
  unlink(picture);
  check(cxr_render_sent(7, picture, NULL) == -1 && contains(cxr_error(), "no sent chart 7"),
        "a chart never sent is refused");
  check(cxr_render_sent(0, "/nonexistent/dir/c.png", NULL) == -1 &&
            contains(cxr_error(), "/nonexistent/dir/c.png: cannot write"),
        "an unwritable picture is refused");
  check(
      cxr_render_sent(0, "c.gif", NULL) == -1 && contains(cxr_error(), ".png, .svg, .pdf or .html"),
      "an unknown picture format is refused");
  check(cxr_render_file(NULL, NULL, picture, NULL) == -1, "a missing document path is refused");
  check(cxr_skipped(0) == NULL && cxr_skipped(-1) == NULL, "no skipped part out of range");

  check(CX_KILLCHART(&chart) == 0, "an ended chart is gone");
  check(CX_TERMINATE() == 0, "CX_TERMINATE");
  cxh_close(dictionary);
  unlink(path);
  printf("%d passed, %d failed\n", passed, failed);
  return failed == 0 ? 0 : 1;
}
