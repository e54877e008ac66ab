/** \file
 * The flat entry points: every ChartXml operation (and a few fixed sequences
 * of them) for callers that can only pass addresses, such as C and Fortran
 * procedures. Each is exported under exactly its upper-case name, so Fortran
 * binds with bind(C, name="CX_ADDFRAME").
 *
 * Rules, the same for every entry point:
 * 1. Every argument is passed by address, in the order of the ChartXml
 *    operation the entry point forwards to (ChartXml.h tells what each one
 *    does and what it returns).
 * 2. An integer, handle or code is a const int64_t*; its low 32 bits are read
 *    as a signed 32-bit value.
 * 3. A logical is a const int64_t*; it is true when any of its 64 bits is set
 *    (also when the low 32 bits are all 0).
 * 4. Where an integer is optional, "not given" is -1 on all 64 bits.
 * 5. A double is a const double*.
 * 6. A text is a const char* followed by a const int64_t* holding its length
 *    in bytes: exactly that many bytes are read, nothing more; no terminator
 *    is needed and no blanks are trimmed. Texts are in the host's default
 *    code page.
 * 7. The host's data area is a void* passed as a value (it may be NULL); the
 *    dictionary is the address of a VORN_FortranDictionary pointer, such as
 *    the one cxh_open_csv or cxh_dictionary returns (chartxml_host.h).
 * 8. A handle written back goes to an int64_t*, sign-extended.
 * 9. The result is the operation's 32-bit result sign-extended to 64 bits:
 *    -1 for a failure, which has been reported to the host's report log.
 * 10. A null argument address or a negative text length is refused: reported
 *    ("null argument address for CX_NAME") and -1, nothing done. Arguments
 *    marked "ignored" are never read and may be NULL.
 * 11. An entry point made of several steps stops at the first negative status
 *    and returns it; outputs already written keep their values, outputs not
 *    reached keep what the caller put there.
 * 12. No exception of the library leaves an entry point; the host's own
 *    return-to-caller unwinding passes through untouched. One thread at a
 *    time; nothing locks.
 */
#ifndef CHARTXML_CX_H_
#define CHARTXML_CX_H_

#include <stdint.h>

#include "chartxml/export.h"

#ifdef __cplusplus
class VORN_FortranDictionary;
extern "C" {
#else
typedef struct VORN_FortranDictionary VORN_FortranDictionary;
#endif

/* ---- Instance, procedure and charts ------------------------------------- */
/** Initialize; names the procedure and sets the data source for all charts. 0. */
CHARTXML_EXPORT int64_t CX_INIT(void* data, VORN_FortranDictionary** dictionary,
                                const char* procName, const int64_t* procNameLength);
/** Destroys the instance and every open chart. 0. */
CHARTXML_EXPORT int64_t CX_TERMINATE(void);
/** A new chart named for the procedure and tied to the data source: its handle. */
CHARTXML_EXPORT int64_t CX_CREATECHART(void* data, VORN_FortranDictionary** dictionary,
                                       const char* procName, const int64_t* procNameLength);
/** CX_CREATECHART, a source, frame "graph_1" under the root and "data_1" in it;
 * the frame outputs end holding the results of clipping them (on, off). The
 * chart handle. */
CHARTXML_EXPORT int64_t CX_CREATECHARTEX(void* data, VORN_FortranDictionary** dictionary,
                                         const char* procName, const int64_t* procNameLength,
                                         int64_t* chartOut, int64_t* sourceOut,
                                         int64_t* graphFrameOut, int64_t* dataFrameOut);
/** As CX_CREATECHARTEX with inner frame "pie_1", only it clipped (its output
 * holds that result). The chart handle. */
CHARTXML_EXPORT int64_t CX_CREATEPIECHART(void* data, VORN_FortranDictionary** dictionary,
                                          const char* procName, const int64_t* procNameLength,
                                          int64_t* chartOut, int64_t* sourceOut,
                                          int64_t* graphFrameOut, int64_t* dataFrameOut);
/** Completes and sends the chart, then removes it: its completion status. */
CHARTXML_EXPORT int64_t CX_ENDCHART(const int64_t* chart);
/** Removes the chart unsent. 0. */
CHARTXML_EXPORT int64_t CX_KILLCHART(const int64_t* chart);
/** Removes every chart; handles start again at 0. 0. */
CHARTXML_EXPORT int64_t CX_KILLCHARTS(void);
/** Marks the y scale's "safe" parameter false. -1, also after a change. */
CHARTXML_EXPORT int64_t CX_SETLOGUNSAFE(const int64_t* chart);
/** The template sent with the chart: 0, or -1 for an empty name. */
CHARTXML_EXPORT int64_t CX_SETCHARTTEMPLATE(const int64_t* chart, const char* name,
                                            const int64_t* nameLength);
/** The chart's kind: 1 for kinds 1 and 2 (icicle plots), else -1. */
CHARTXML_EXPORT int64_t CX_SETCHARTTYPE(const int64_t* chart, const int64_t* kind);
/** The description sent with the chart, from a string handle: 0, or -1. */
CHARTXML_EXPORT int64_t CX_CREATECHARTDESCRIPTION(const int64_t* chart, const int64_t* text);
/** The description from a text (made a string first): 0, or -1. */
CHARTXML_EXPORT int64_t CX_SETCHARTDESCRIPTION(const int64_t* chart, const char* text,
                                               const int64_t* textLength);
/** Nothing: -1. */
CHARTXML_EXPORT int64_t CX_DUMPXML(const void* ignored1, const void* ignored2,
                                   const void* ignored3);
/** Nothing: -1. */
CHARTXML_EXPORT int64_t CX_STATISTICSSUMMARY(void);

/* ---- Strings (no chart) ---------------------------------------------------- */
/** A new string handle holding the text. */
CHARTXML_EXPORT int64_t CX_STRING(const void* ignored, const char* text, const int64_t* textLength);
/** A new string handle holding the text. */
CHARTXML_EXPORT int64_t CX_NSTRINGNOTRANSLATE(const char* text, const int64_t* textLength);
/** A new string handle holding a message key's translation. */
CHARTXML_EXPORT int64_t CX_NSTRING(const void* ignored, const char* key, const int64_t* keyLength);
/** A new composite over a translated pattern ("^1".."^9" places). */
CHARTXML_EXPORT int64_t CX_COMPOSITESTRING(const char* key, const int64_t* keyLength);
/** The next parameter of a composite. 0. */
CHARTXML_EXPORT int64_t CX_ADDPARAMETER(const int64_t* composite, const int64_t* parameter);
/** Opens a repeat list (one place, parameters joined by ", "). 0. */
CHARTXML_EXPORT int64_t CX_BEGINREPEAT(const int64_t* composite);
/** Closes the repeat list. 0. */
CHARTXML_EXPORT int64_t CX_ENDREPEAT(const int64_t* composite);
/** Ends the composite: its handle. */
CHARTXML_EXPORT int64_t CX_ENDCOMPOSITESTRING(const int64_t* composite);
/** A new handle: the string's text, "_" and the index. */
CHARTXML_EXPORT int64_t CX_STYLESTRING(const int64_t* string, const int64_t* index);
/** The string as a cell text of the host's output tables: its handle. */
CHARTXML_EXPORT int64_t CX_TOTS(const int64_t* string);

/* ---- Numbers and value texts (new string handles; no chart) ----------------- */
/** The number as printf("%.16g") writes it; -1 for the missing value. */
CHARTXML_EXPORT int64_t CX_DOUBLE(const double* value);
/** The integer as a number (as CX_LRVALUE with format -1). */
CHARTXML_EXPORT int64_t CX_INTEGER(const void* ignored, const int64_t* value);
/** The value in a display format code (-1: as CX_DOUBLE). */
CHARTXML_EXPORT int64_t CX_LRVALUE(const double* value, const int64_t* format);
/** The integer in a display format code. */
CHARTXML_EXPORT int64_t CX_IVALUE(const void* ignored, const int64_t* value, const int64_t* format);
/** As CX_LRVALUE; the missing value gives the translated "missing" text. */
CHARTXML_EXPORT int64_t CX_LRVALUEASSTRING(const double* value, const int64_t* format);
/** As CX_LRVALUEASSTRING for an integer. */
CHARTXML_EXPORT int64_t CX_IVALUEASSTRING(const int64_t* value, const int64_t* format);
/** The column's name. */
CHARTXML_EXPORT int64_t CX_VARIABLENAME(const int64_t* variable);
/** The column's label, else its name. */
CHARTXML_EXPORT int64_t CX_VARIABLELABEL(const int64_t* variable);
/** A column's label (else name) through a data area and dictionary of its own. */
CHARTXML_EXPORT int64_t CX_VARIABLELABELFROMDICTIONARY(void* data,
                                                       VORN_FortranDictionary** dictionary,
                                                       const int64_t* variable);
/** The value's label, else the formatted value, cut to maxLength bytes (0: all). */
CHARTXML_EXPORT int64_t CX_VALUELABEL(const int64_t* variable, const double* value,
                                      const int64_t* maxLength);
/** The same as CX_VALUELABEL. */
CHARTXML_EXPORT int64_t CX_VALUELABELSHORT(const int64_t* variable, const double* value,
                                           const int64_t* maxLength);
/** The value in the column's display format. */
CHARTXML_EXPORT int64_t CX_VALUE(const int64_t* variable, const double* value);
/** The value in the display format of a mean of the column. */
CHARTXML_EXPORT int64_t CX_MEANVALUE(const int64_t* variable, const double* value);
/** "LABEL: VALUE" for the column and value. */
CHARTXML_EXPORT int64_t CX_OBJECTLABEL(const int64_t* variable, const double* value);
/** "Weighted by LABEL" (flag set) or "Not weighted by LABEL"; -1 unless the
 * variable is positive. */
CHARTXML_EXPORT int64_t CX_WEIGHTINFO(const void* ignored1, const void* ignored2,
                                      const int64_t* variable, const int64_t* flag);

/* ---- Split groups -------------------------------------------------------- */
/** The split values of a column joined by ", " (ChartXml::SplitList): numbers
 * for a numeric column, count blank-padded fields of textWidth bytes for a
 * string column; each cut to maxLength bytes (0: all). */
CHARTXML_EXPORT int64_t CX_SPLITLIST(const int64_t* chart, const int64_t* variable,
                                     const int64_t* count, const double* numbers, const char* texts,
                                     const int64_t* textWidth, const int64_t* maxLength);
/** A subtitle text from a split description, one item a line when flag is set. */
CHARTXML_EXPORT int64_t CX_SPLITHEADER(const int64_t* header, const int64_t* flag);
/** Fills the next place of an open composite with a split text and ends it. */
CHARTXML_EXPORT int64_t CX_SETSPLITCOMPOSITE(const int64_t* composite, const int64_t* text);
/** "NAME key VALUES" (useKey), "NAME ; VALUES", "Key VALUES" or "; VALUES" for a
 * split column; name -1: none. Returns name unchanged for count < 1, or for
 * useKey without showName. The list arguments are CX_SPLITLIST's. */
CHARTXML_EXPORT int64_t CX_SPLITVARIABLEINFO(const int64_t* chart, const int64_t* name,
                                             const int64_t* variable, const int64_t* count,
                                             const double* numbers, const char* texts,
                                             const int64_t* textWidth, const int64_t* maxLength,
                                             const int64_t* showName, const int64_t* useKey);
/** A subtitle frame labelled with CX_SPLITHEADER(header, flag): the frame. */
CHARTXML_EXPORT int64_t CX_ADDSPLITHEADEREX(const int64_t* chart, const int64_t* parent,
                                            const int64_t* header, const int64_t* flag);

/* ---- Data source and variables -------------------------------------------- */
/** A source element ("source0", ...). */
CHARTXML_EXPORT int64_t CX_ADDSOURCE(const int64_t* chart);
/** A variable for a column (1-based with a procedure dictionary, else 0-based). */
CHARTXML_EXPORT int64_t CX_ADDVARIABLE(const int64_t* chart, const int64_t* source,
                                       const int64_t* variable, const int64_t* categorical);
/** As CX_ADDVARIABLE, described as a labeling variable. */
CHARTXML_EXPORT int64_t CX_ADDLABELINGVARIABLE(const int64_t* chart, const int64_t* source,
                                               const int64_t* variable, const int64_t* categorical);
/** A case-weight variable for a column (meta weight="true"). */
CHARTXML_EXPORT int64_t CX_ADDWEIGHTVARIABLE(const int64_t* chart, const int64_t* source,
                                             const int64_t* variable);
/** Points a variable element at another column: the column index. */
CHARTXML_EXPORT int64_t CX_SETVARIABLE(const int64_t* chart, const int64_t* variableHandle,
                                       const int64_t* variable, const int64_t* categorical);
/** Marks the variable log-scaled: the chart argument. */
CHARTXML_EXPORT int64_t CX_CREATELOGVAR(const int64_t* chart, const int64_t* variableHandle);
/** The variable handle. */
CHARTXML_EXPORT int64_t CX_SETVARIABLECATEGORICAL(const int64_t* chart,
                                                  const int64_t* variableHandle,
                                                  const int64_t* categorical);
/** Writes a display format code into the variable's meta: the variable handle. */
CHARTXML_EXPORT int64_t CX_SETVARIABLEFORMAT(const int64_t* chart, const int64_t* variableHandle,
                                             const int64_t* formatCode);
/** The column's display format code. */
CHARTXML_EXPORT int64_t CX_GETVARIABLEFORMAT(const int64_t* chart, const int64_t* variable);
/** The variable element's label (else short label) as a new string handle. */
CHARTXML_EXPORT int64_t CX_GETVARIABLELABEL(const int64_t* chart, const int64_t* variableHandle);
/** The variable's label from a string handle: the variable. */
CHARTXML_EXPORT int64_t CX_SETVARIABLELABEL(const int64_t* chart, const int64_t* variableHandle,
                                            const int64_t* text);
/** The variable's short label from a string handle: the variable. */
CHARTXML_EXPORT int64_t CX_SETVARIABLENAME(const int64_t* chart, const int64_t* variableHandle,
                                           const int64_t* text);
/** A constant value from a string handle instead of a data column: the variable. */
CHARTXML_EXPORT int64_t CX_SETVARIABLEVALUE(const int64_t* chart, const int64_t* variableHandle,
                                            const int64_t* text);
/** A new variable list (0, 1, ... per chart). */
CHARTXML_EXPORT int64_t CX_BEGINVARIABLELIST(const int64_t* chart);
/** Appends a variable to a list: the list number. */
CHARTXML_EXPORT int64_t CX_ADDTOVARIABLELIST(const int64_t* chart, const int64_t* list,
                                             const int64_t* variableHandle);
/** A variable summing a list's variables. */
CHARTXML_EXPORT int64_t CX_ADDRANGEVARIABLE(const int64_t* chart, const int64_t* list);
/** The sum of a list's variables labelled for the role's axis. */
CHARTXML_EXPORT int64_t CX_ADDOVERLAYVARIABLE(const int64_t* chart, const int64_t* list,
                                              const int64_t* role);
/** The variable of a scatter-plot matrix over a list. */
CHARTXML_EXPORT int64_t CX_ADDMATRIXVARIABLE(const int64_t* chart, const int64_t* list);
/** A relabel of a value (0 past 1000 relabels). */
CHARTXML_EXPORT int64_t CX_ADDRELABEL(const int64_t* chart, const int64_t* variableHandle,
                                      const int64_t* from, const int64_t* to);
/** The column's value labels as relabels: the variable, or -1 when none. */
CHARTXML_EXPORT int64_t CX_ADDRELABELS(const int64_t* chart, const int64_t* variableHandle,
                                       const int64_t* variable);

/* ---- Data rows ------------------------------------------------------------- */
/** Opens the next row: the row count. */
CHARTXML_EXPORT int64_t CX_ADDROW(const int64_t* chart, const int64_t* source);
/** A string handle's text as the variable's value in the row. 0. */
CHARTXML_EXPORT int64_t CX_ADDDATAVALUE(const int64_t* chart, const int64_t* source,
                                        const int64_t* variableHandle, const int64_t* text);
/** A number as the variable's value in the row. 0. */
CHARTXML_EXPORT int64_t CX_ADDDOUBLEDATAVALUE(const int64_t* chart, const int64_t* source,
                                              const int64_t* variableHandle, const double* value);
/** Every text value is stored as a number from now on: the chart argument. */
CHARTXML_EXPORT int64_t CX_ALLDATADOUBLES(const int64_t* chart);

/* ---- Frames, elements, positions and aesthetics ------------------------------ */
/** A frame under the root (0) or a frame; suffix -1: none. */
CHARTXML_EXPORT int64_t CX_ADDFRAME(const int64_t* chart, const int64_t* parent,
                                    const int64_t* suffix);
/** A frame whose id suffix is the style string (styleKind, styleVariant), with
 * a label of that style showing `label`: the frame. */
CHARTXML_EXPORT int64_t CX_ADDFRAMEWITHLABEL(const int64_t* chart, const int64_t* parent,
                                             const int64_t* styleKind, const int64_t* styleVariant,
                                             const int64_t* label, const void* ignored);
/** Clips (or not) a frame: the frame. */
CHARTXML_EXPORT int64_t CX_SETFRAMECLIPPING(const int64_t* chart, const int64_t* frame,
                                            const int64_t* clip);
/** A graphic element of a type under a frame or element group. */
CHARTXML_EXPORT int64_t CX_ADDELEMENT(const int64_t* chart, const int64_t* parent,
                                      const int64_t* type, const int64_t* suffix);
/** An element with its style string, x and y: the element (also written back). */
CHARTXML_EXPORT int64_t CX_ADDXYELEMENTEX(const int64_t* chart, const int64_t* parent,
                                          const int64_t* styleVariant, const int64_t* type,
                                          const int64_t* x, const int64_t* y,
                                          const int64_t* styleKind, int64_t* elementOut);
/** A group of elements under a frame. */
CHARTXML_EXPORT int64_t CX_ADDELEMENTGROUP(const int64_t* chart, const int64_t* frame,
                                           const int64_t* suffix);
/** An element binned on a hexagonal grid by x and y. */
CHARTXML_EXPORT int64_t CX_ADDBINNEDELEMENT(const int64_t* chart, const int64_t* parent,
                                            const int64_t* type, const int64_t* suffix,
                                            const int64_t* xVariable, const int64_t* yVariable);
/** The position of an element. */
CHARTXML_EXPORT int64_t CX_ADDPOSITION(const int64_t* chart, const int64_t* element);
/** x of an element or position, referring to a variable element. */
CHARTXML_EXPORT int64_t CX_ADDX(const int64_t* chart, const int64_t* parent,
                                const int64_t* variable);
/** y of an element or position. */
CHARTXML_EXPORT int64_t CX_ADDY(const int64_t* chart, const int64_t* parent,
                                const int64_t* variable);
/** z of an element or position. */
CHARTXML_EXPORT int64_t CX_ADDZ(const int64_t* chart, const int64_t* parent,
                                const int64_t* variable);
/** theta of an element or position (polar charts). */
CHARTXML_EXPORT int64_t CX_ADDTHETA(const int64_t* chart, const int64_t* parent,
                                    const int64_t* variable);
/** An element's colour by a variable. */
CHARTXML_EXPORT int64_t CX_ADDCOLOR(const int64_t* chart, const int64_t* element,
                                    const int64_t* variable);
/** Splits an element into one mark per value of a variable. */
CHARTXML_EXPORT int64_t CX_ADDSPLIT(const int64_t* chart, const int64_t* element,
                                    const int64_t* variable);
/** An element's styles by a variable, from the default style cycle. */
CHARTXML_EXPORT int64_t CX_ADDSTYLEBY(const int64_t* chart, const int64_t* element,
                                      const int64_t* variable);
/** An element's styles by a variable, by colour. */
CHARTXML_EXPORT int64_t CX_ADDSTYLEBYCOLOR(const int64_t* chart, const int64_t* element,
                                           const int64_t* variable);
/** An element's styles by a variable, by pattern. */
CHARTXML_EXPORT int64_t CX_ADDSTYLEBYPATTERN(const int64_t* chart, const int64_t* element,
                                             const int64_t* variable);
/** An element's styles by a variable, by colour and pattern. */
CHARTXML_EXPORT int64_t CX_ADDSTYLEBYCOLORANDPATTERN(const int64_t* chart, const int64_t* element,
                                                     const int64_t* variable);
/** A label under any element, replacing its earlier label. */
CHARTXML_EXPORT int64_t CX_ADDLABEL(const int64_t* chart, const int64_t* parent,
                                    const int64_t* idSuffix, const int64_t* content);
/** Value labels of an element from a variable. */
CHARTXML_EXPORT int64_t CX_ADDLABELING(const int64_t* chart, const int64_t* element,
                                       const int64_t* variable);
/** The same, with a suffix naming their style. */
CHARTXML_EXPORT int64_t CX_ADDLABELINGSUFFIX(const int64_t* chart, const int64_t* element,
                                             const int64_t* variable, const int64_t* suffix);
/** The same, with the suffix "inside". */
CHARTXML_EXPORT int64_t CX_ADDLABELINGINSIDE(const int64_t* chart, const int64_t* element,
                                             const int64_t* variable);
/** An aggregate variable described as a labeling. */
CHARTXML_EXPORT int64_t CX_ADDLABELINGAGGREGATE(const int64_t* chart, const int64_t* sourceVariable,
                                                const int64_t* function, const int64_t* categorical,
                                                const int64_t* labelText,
                                                const int64_t* shortLabelText,
                                                const int64_t* domain);
/** An element's dot setting: the element. */
CHARTXML_EXPORT int64_t CX_SETELEMENTDOT(const int64_t* chart, const int64_t* element,
                                         const int64_t* dot);
/** Names an element or a guide: the handle given. */
CHARTXML_EXPORT int64_t CX_SETELEMENTNAME(const int64_t* chart, const int64_t* element,
                                          const int64_t* name);
/** An element's position modifier (stack, dodge, ...): the element. */
CHARTXML_EXPORT int64_t CX_SETELEMENTPOSITIONMODIFIER(const int64_t* chart, const int64_t* element,
                                                      const int64_t* modifier);
/** How an element's labels make way for each other: 0. */
CHARTXML_EXPORT int64_t CX_SETLABELCOLLISIONHANDLING(const int64_t* chart, const int64_t* element,
                                                     const int64_t* handling);
/** Whether an element's overlapping labels show: the element. */
CHARTXML_EXPORT int64_t CX_SETDISPLAYOVERLAPPINGLABELS(const int64_t* chart, const int64_t* element,
                                                       const int64_t* show);

/* ---- Coordinates, dimensions, axes, guides and legends ------------------------ */
/** A coordinate transform of a method (a string handle, such as "polar")
 * under a frame. */
CHARTXML_EXPORT int64_t CX_ADDCOORDINATETRANSFORM(const int64_t* chart, const int64_t* frame,
                                                  const int64_t* method);
/** The frame's dimension for a role (1 x .. 7 position), made on first call. */
CHARTXML_EXPORT int64_t CX_ADDDIMENSION(const int64_t* chart, const int64_t* frame,
                                        const int64_t* role, const int64_t* domain);
/** The first dimension for a role below the frame, or -1. */
CHARTXML_EXPORT int64_t CX_GETDIMENSION(const int64_t* chart, const int64_t* frame,
                                        const int64_t* role);
/** The dimension's domain: the dimension. */
CHARTXML_EXPORT int64_t CX_SETDIMENSIONDOMAIN(const int64_t* chart, const int64_t* dimension,
                                              const int64_t* domain);
/** The lower end of the dimension's mapping (a string handle): the dimension. */
CHARTXML_EXPORT int64_t CX_SETDIMENSIONLOWERMAPPING(const int64_t* chart, const int64_t* dimension,
                                                    const int64_t* mapping);
/** The upper end of the dimension's mapping: the dimension. */
CHARTXML_EXPORT int64_t CX_SETDIMENSIONUPPERMAPPING(const int64_t* chart, const int64_t* dimension,
                                                    const int64_t* mapping);
/** The same as CX_SETDIMENSIONUPPERMAPPING. */
CHARTXML_EXPORT int64_t CX_SETDIMENSIONUPPER(const int64_t* chart, const int64_t* dimension,
                                             const int64_t* mapping);
/** The margin below the data (a string handle such as "5%"): the dimension. */
CHARTXML_EXPORT int64_t CX_SETDIMENSIONLOWERMARGIN(const int64_t* chart, const int64_t* dimension,
                                                   const int64_t* margin);
/** The margin above the data: the dimension. */
CHARTXML_EXPORT int64_t CX_SETDIMENSIONUPPERMARGIN(const int64_t* chart, const int64_t* dimension,
                                                   const int64_t* margin);
/** Equal units along x and y, or not: the dimension. */
CHARTXML_EXPORT int64_t CX_SETDIMENSIONSAMERATIO(const int64_t* chart, const int64_t* dimension,
                                                 const int64_t* sameRatio);
/** The dimension's domain is the union of its variables' domains: the dimension. */
CHARTXML_EXPORT int64_t CX_SETUNIONDOMAIN(const int64_t* chart, const int64_t* dimension);
/** A scale of a method with its parameters: the scale. */
CHARTXML_EXPORT int64_t CX_SETDIMENSIONSCALE(const int64_t* chart, const int64_t* dimension,
                                             const int64_t* method, const int64_t* value,
                                             const int64_t* invert);
/** Every domain gets the interval -extent..extent: 1, or -1. */
CHARTXML_EXPORT int64_t CX_SETXYDIMENSIONSAMESCALE(const int64_t* chart, const double* extent);
/** Dimension number 1, 2 or 3 (else -1, nothing made) with its style string,
 * the margins and mappings given (-1: not given), an axis and major ticks:
 * the dimension. */
CHARTXML_EXPORT int64_t CX_ADDDIMENSIONAXIS(const int64_t* chart, const int64_t* parent,
                                            const int64_t* dimensionNumber, const int64_t* detail,
                                            const int64_t* opposite, int64_t* styleOut,
                                            int64_t* axisOut, const int64_t* upperMargin,
                                            const int64_t* lowerMargin, const int64_t* upperMapping,
                                            const int64_t* lowerMapping);
/** CX_ADDDIMENSIONAXIS for x then y: the x dimension. */
CHARTXML_EXPORT int64_t CX_ADDXYDIMENSION(
    const int64_t* chart, const int64_t* parent, const int64_t* detail1, const int64_t* detail2,
    const int64_t* opposite1, const int64_t* opposite2, int64_t* style1Out, int64_t* axis1Out,
    int64_t* style2Out, int64_t* axis2Out, const int64_t* upperMargin1, const int64_t* lowerMargin1,
    const int64_t* upperMargin2, const int64_t* lowerMargin2, const int64_t* upperMapping1,
    const int64_t* lowerMapping1, const int64_t* upperMapping2, const int64_t* lowerMapping2);
/** CX_ADDXYDIMENSION with all margins "5%" and no mappings: the x dimension. */
CHARTXML_EXPORT int64_t CX_ADDXYDIMENSIONWITHAXIS(const int64_t* chart, const int64_t* parent,
                                                  const int64_t* detail1, const int64_t* detail2,
                                                  const int64_t* opposite1,
                                                  const int64_t* opposite2, int64_t* style1Out,
                                                  int64_t* axis1Out, int64_t* style2Out,
                                                  int64_t* axis2Out);
/** x and y dimensions with margins "0%" and the same-ratio setting: x's. */
CHARTXML_EXPORT int64_t CX_ADDXYDIMAXISWITHSAMERATIO(
    const int64_t* chart, const int64_t* parent, const int64_t* detail1, const int64_t* detail2,
    const int64_t* opposite1, const int64_t* opposite2, const int64_t* sameRatio,
    int64_t* style1Out, int64_t* axis1Out, int64_t* style2Out, int64_t* axis2Out);
/** The back planes of a 3-D frame (and its rectangular transform): parent. */
CHARTXML_EXPORT int64_t CX_ADDXYZBACKPLANES(const int64_t* chart, const int64_t* parent);
/** As CX_ADDXYZBACKPLANES, with a wire frame: parent. */
CHARTXML_EXPORT int64_t CX_ADDXYZWIREFRAME(const int64_t* chart, const int64_t* parent);
/** An axis of a dimension (or facet label), on the opposite side when set. */
CHARTXML_EXPORT int64_t CX_ADDAXIS(const int64_t* chart, const int64_t* dimension,
                                   const int64_t* idSuffix, const int64_t* opposite);
/** Major ticks of an axis: position, grid lines, length, label angle, stagger, delta. */
CHARTXML_EXPORT int64_t CX_ADDMAJORTICKS(const int64_t* chart, const int64_t* parent,
                                         const int64_t* position, const int64_t* gridLines,
                                         const int64_t* length, const int64_t* labelAngle,
                                         const int64_t* stagger, const int64_t* delta);
/** Minor ticks of an axis: position, grid lines, length, number. */
CHARTXML_EXPORT int64_t CX_ADDMINORTICKS(const int64_t* chart, const int64_t* axis,
                                         const int64_t* position, const int64_t* gridLines,
                                         const int64_t* length, const int64_t* number);
/** Makes an axis show percentages: parent. */
CHARTXML_EXPORT int64_t CX_SETAXISPERCENT(const int64_t* chart, const int64_t* parent,
                                          const int64_t* formatOwner);
/** A guide of a type ("plane", "frame", ...) under a frame. */
CHARTXML_EXPORT int64_t CX_ADDGUIDE(const int64_t* chart, const int64_t* frame, const int64_t* type,
                                    const int64_t* suffix);
/** A line guide at a value of x; number (>= 0) names its id. */
CHARTXML_EXPORT int64_t CX_ADDXREFERENCELINE(const int64_t* chart, const int64_t* frame,
                                             const int64_t* value, const int64_t* number);
/** A line guide at a value of y; number (>= 0) names its id. */
CHARTXML_EXPORT int64_t CX_ADDYREFERENCELINE(const int64_t* chart, const int64_t* frame,
                                             const int64_t* value, const int64_t* number);
/** A legend under a frame. */
CHARTXML_EXPORT int64_t CX_ADDLEGEND(const int64_t* chart, const int64_t* frame,
                                     const int64_t* suffix);
/** What a legend explains, its aesthetic read from a style-by element. */
CHARTXML_EXPORT int64_t CX_ADDLEGENDTARGETEX(const int64_t* chart, const int64_t* legend,
                                             const int64_t* target, const int64_t* styleBy,
                                             const int64_t* suffix);
/** A frame with a legend of its own for a target: the legend (not the frame). */
CHARTXML_EXPORT int64_t CX_ADDLEGENDFRAME(const int64_t* chart, const int64_t* parent,
                                          const int64_t* target, const int64_t* styleVariant,
                                          const int64_t* targetKind, const void* ignored,
                                          int64_t* styleOut, int64_t* legendOut);
/** As CX_ADDLEGENDFRAME; a target kind other than -1 makes an extended target. */
CHARTXML_EXPORT int64_t CX_ADDLEGENDFRAMEEX(const int64_t* chart, const int64_t* parent,
                                            const int64_t* target, const int64_t* styleVariant,
                                            const int64_t* targetKind, int64_t* styleOut,
                                            int64_t* legendOut);

/* ---- Fitted-function lines: y = f(x) guides (dateAxis: x is a date) ----------- */
/** y = b x + a. */
CHARTXML_EXPORT int64_t CX_ADDYOFXLINEAR(const int64_t* chart, const int64_t* frame,
                                         const int64_t* idNumber, const double* a, const double* b,
                                         const int64_t* dateAxis);
/** y = a + b log(x). */
CHARTXML_EXPORT int64_t CX_ADDYOFXLOGARITHMIC(const int64_t* chart, const int64_t* frame,
                                              const int64_t* idNumber, const double* a,
                                              const double* b, const int64_t* dateAxis);
/** y = a + b / x. */
CHARTXML_EXPORT int64_t CX_ADDYOFXINVERSE(const int64_t* chart, const int64_t* frame,
                                          const int64_t* idNumber, const double* a, const double* b,
                                          const int64_t* dateAxis);
/** y = a + b x + c x^2. */
CHARTXML_EXPORT int64_t CX_ADDYOFXQUADRATIC(const int64_t* chart, const int64_t* frame,
                                            const int64_t* idNumber, const double* a,
                                            const double* b, const double* c,
                                            const int64_t* dateAxis);
/** y = a + b x + c x^2 + d x^3. */
CHARTXML_EXPORT int64_t CX_ADDYOFXCUBIC(const int64_t* chart, const int64_t* frame,
                                        const int64_t* idNumber, const double* a, const double* b,
                                        const double* c, const double* d, const int64_t* dateAxis);
/** y = a b^x. */
CHARTXML_EXPORT int64_t CX_ADDYOFXCOMPOUND(const int64_t* chart, const int64_t* frame,
                                           const int64_t* idNumber, const double* a,
                                           const double* b, const int64_t* dateAxis);
/** y = a x^b. */
CHARTXML_EXPORT int64_t CX_ADDYOFXPOWER(const int64_t* chart, const int64_t* frame,
                                        const int64_t* idNumber, const double* a, const double* b,
                                        const int64_t* dateAxis);
/** y = exp(a + b / x) (the S curve). */
CHARTXML_EXPORT int64_t CX_ADDYOFXS(const int64_t* chart, const int64_t* frame,
                                    const int64_t* idNumber, const double* a, const double* b,
                                    const int64_t* dateAxis);
/** y = exp(a + b x). */
CHARTXML_EXPORT int64_t CX_ADDYOFXGROWTH(const int64_t* chart, const int64_t* frame,
                                         const int64_t* idNumber, const double* a, const double* b,
                                         const int64_t* dateAxis);
/** y = a exp(b x). */
CHARTXML_EXPORT int64_t CX_ADDYOFXEXPONENTIAL(const int64_t* chart, const int64_t* frame,
                                              const int64_t* idNumber, const double* a,
                                              const double* b, const int64_t* dateAxis);
/** y = 1 / (c + a b^x). */
CHARTXML_EXPORT int64_t CX_ADDYOFXLOGISTIC(const int64_t* chart, const int64_t* frame,
                                           const int64_t* idNumber, const double* a,
                                           const double* b, const double* c,
                                           const int64_t* dateAxis);
/** The line of a finished formula string. */
CHARTXML_EXPORT int64_t CX_ADDYFUNCTIONOFX(const int64_t* chart, const int64_t* frame,
                                           const int64_t* functionText, const int64_t* idNumber);

/* ---- Facets -------------------------------------------------------------------- */
/** A coordinate facet under a frame. */
CHARTXML_EXPORT int64_t CX_ADDCOORDINATEFACET(const int64_t* chart, const int64_t* frame);
/** A cross in the facet algebra under a coordinate facet. */
CHARTXML_EXPORT int64_t CX_ADDCROSS(const int64_t* chart, const int64_t* node);
/** A nest (exactly two children) in the facet algebra. */
CHARTXML_EXPORT int64_t CX_ADDNEST(const int64_t* chart, const int64_t* node);
/** A blend in the facet algebra. */
CHARTXML_EXPORT int64_t CX_ADDBLEND(const int64_t* chart, const int64_t* node);
/** A facet variable for a role under a facet node. */
CHARTXML_EXPORT int64_t CX_ADDFACETVARIABLE(const int64_t* chart, const int64_t* node,
                                            const int64_t* role, const int64_t* variable);
/** Made on first call; later calls return the same handle. */
CHARTXML_EXPORT int64_t CX_ADDTABLEFACET(const int64_t* chart, const int64_t* frame);
/** The frame's facet labeling, made on first call. */
CHARTXML_EXPORT int64_t CX_ADDFACETLABELING(const int64_t* chart, const int64_t* frame);
/** The aspect ratio of the labeling's cells: the labeling. */
CHARTXML_EXPORT int64_t CX_SETFACETLABELINGCELLASPECT(const int64_t* chart, const int64_t* labeling,
                                                      const double* aspect);
/** A label of a facet level in a labeling, reversed when set. */
CHARTXML_EXPORT int64_t CX_ADDFACETLABEL(const int64_t* chart, const int64_t* labeling,
                                         const int64_t* idText, const int64_t* level,
                                         const int64_t* reverse);
/** The labeling's first label of a level, or -1. */
CHARTXML_EXPORT int64_t CX_GETFACETLABEL(const int64_t* chart, const int64_t* labeling,
                                         const int64_t* level);
/** A facet label's cell style (-1 removes it): the label. */
CHARTXML_EXPORT int64_t CX_SETFACETLABELCELLSTYLE(const int64_t* chart, const int64_t* label,
                                                  const int64_t* styleText);
/** The gap of a facet label (a string handle): the label. */
CHARTXML_EXPORT int64_t CX_SETFACETLABELGAP(const int64_t* chart, const int64_t* label,
                                            const int64_t* gapText);
/** The level of a facet label: the label. */
CHARTXML_EXPORT int64_t CX_SETFACETLABELLEVEL(const int64_t* chart, const int64_t* label,
                                              const int64_t* level);
/** A scatter-plot matrix of count variables (64-bit handles) with margins "15%":
 * the point element (also written back). */
CHARTXML_EXPORT int64_t CX_ADDSPLOMELEMENT(const int64_t* chart, const int64_t* parent,
                                           const int64_t* variables, const int64_t* count,
                                           int64_t* elementOut);
/** The same with margins and mappings of its own (-1: not given). */
CHARTXML_EXPORT int64_t CX_ADDSPLOMELEMENTEX(
    const int64_t* chart, const int64_t* parent, const int64_t* variables, const int64_t* count,
    int64_t* elementOut, const int64_t* upperMargin1, const int64_t* lowerMargin1,
    const int64_t* upperMargin2, const int64_t* lowerMargin2, const int64_t* upperMapping1,
    const int64_t* lowerMapping1, const int64_t* upperMapping2, const int64_t* lowerMapping2);

/* ---- Domains, sorts, statistics and aggregates ---------------------------------- */
/** A domain; with a sort method (not -1) also its sort and simple sort, and
 * then the result of setting the method (not the domain). */
CHARTXML_EXPORT int64_t CX_ADDDOMAIN(const int64_t* chart, const void* ignored1,
                                     const void* ignored2, const int64_t* categorical,
                                     const int64_t* sortMethod);
/** A reference from a domain to another domain or a variable. */
CHARTXML_EXPORT int64_t CX_ADDDOMAINREFERENCE(const int64_t* chart, const int64_t* domain,
                                              const int64_t* target);
/** An interval of a domain from two string handles. */
CHARTXML_EXPORT int64_t CX_ADDINTERVALEX(const int64_t* chart, const int64_t* domain,
                                         const int64_t* minText, const int64_t* maxText);
/** Sets the domain's sort descending (making the sort): the domain. */
CHARTXML_EXPORT int64_t CX_SETDOMAINDESCENDING(const int64_t* chart, const int64_t* domain,
                                               const int64_t* descending);
/** The sort of a domain. */
CHARTXML_EXPORT int64_t CX_ADDSORT(const int64_t* chart, const int64_t* domain);
/** A sort's direction: the sort. */
CHARTXML_EXPORT int64_t CX_SETSORTDESCENDING(const int64_t* chart, const int64_t* sort,
                                             const int64_t* descending);
/** A simple sort under a sort. */
CHARTXML_EXPORT int64_t CX_ADDSIMPLESORT(const int64_t* chart, const int64_t* sort);
/** A simple sort's method (a string handle): 0. */
CHARTXML_EXPORT int64_t CX_SETSIMPLESORTMETHOD(const int64_t* chart, const int64_t* simpleSort,
                                               const int64_t* methodText);
/** A sort by a statistic of a source variable. */
CHARTXML_EXPORT int64_t CX_ADDSTATISTICSORT(const int64_t* chart, const int64_t* sort,
                                            const int64_t* sourceVariable,
                                            const int64_t* statVariable);
/** A statistic of a method under any element. */
CHARTXML_EXPORT int64_t CX_ADDSTATISTIC(const int64_t* chart, const int64_t* parent,
                                        const int64_t* methodText);
/** A name/value parameter under a statistic, guide or element. */
CHARTXML_EXPORT int64_t CX_ADDPARAM(const int64_t* chart, const int64_t* parent,
                                    const int64_t* nameText, const int64_t* valueText);
/** A bin width for every histogram: 1, or -1. */
CHARTXML_EXPORT int64_t CX_SETBINWIDTH(const int64_t* chart, const double* width);
/** The statistic a variable shows: the code (-1 for 0, 2, 24 and unknown codes). */
CHARTXML_EXPORT int64_t CX_SETSUMMARYFUNCTION(const int64_t* chart, const int64_t* variable,
                                              const int64_t* code, const double* p1,
                                              const double* p2);
/** A variable computed from another. */
CHARTXML_EXPORT int64_t CX_ADDAGGREGATE(const int64_t* chart, const int64_t* sourceVariable,
                                        const int64_t* function, const int64_t* categorical,
                                        const int64_t* labelText, const int64_t* shortLabelText,
                                        const int64_t* domain);
/** A variable of case weights computed from another. */
CHARTXML_EXPORT int64_t CX_ADDWEIGHTAGGREGATE(const int64_t* chart, const int64_t* sourceVariable,
                                              const int64_t* labelText,
                                              const int64_t* shortLabelText);
/** Marks an aggregate as computed by the host: its meta element. */
CHARTXML_EXPORT int64_t CX_SETAGGREGATEEXTERNAL(const int64_t* chart, const int64_t* variable);

#ifdef __cplusplus
}
#endif

#endif /* CHARTXML_CX_H_ */
