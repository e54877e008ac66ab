// Composite cell texts: places, repeat lists, English forms and misuse.
#include <gtest/gtest.h>

#include "chartxml/host/OmComposite.h"

namespace {

std::string both(const OmComposite& c) {
  return c.GetText() + "|" + c.GetEnglishText();
}

TEST(OmComposite, FillsPlacesInOrderWithRepeatLists) {
  OmComposite c(OmStringCell("^2 gegen ^1 (^3)", "^2 versus ^1 (^3)"));
  c.Add(OmStringCell("Alter", "Age"));
  c.Add(OmStringCell("Einkommen", ""));  // no English form: the text stands in
  c.BeginRepeatList();
  c.Add(OmStringCell("a", "A"));
  c.Add(OmStringCell("b", "B"));
  c.EndRepeatList();
  c.End();
  EXPECT_EQ(both(c), "Einkommen gegen Alter (a, b)|Einkommen versus Age (A, B)");
}

TEST(OmComposite, CaretsAndUnfilledPlaces) {
  OmComposite c(OmStringCell("x^^2=^1 [^2] ^0 ^", ""));
  c.Add(OmStringCell("4", ""));
  c.Substitute(true);  // not ended yet: more parameters may come
  EXPECT_EQ(both(c), "x^2=4 [^2] ^0 ^|x^2=4 [^2] ^0 ^");
  c.End();
  EXPECT_TRUE(c.ended());
  c.Substitute(false);
  EXPECT_EQ(c.GetText(), "x^2=4 [^2] ^0 ^");
  c.Substitute(true);
  EXPECT_EQ(both(c), "x^2=4 [] ^0 ^|x^2=4 [] ^0 ^");
}

TEST(OmComposite, MisuseThrows) {
  const OmStringCell p("p", "p");
  OmComposite ended(OmStringCell("^1", "^1"));
  ended.End();
  EXPECT_THROW(ended.Add(p), OmException);
  EXPECT_THROW(ended.BeginRepeatList(), OmException);

  OmComposite lists(OmStringCell("^1", "^1"));
  EXPECT_THROW(lists.EndRepeatList(), OmException);
  lists.BeginRepeatList();
  EXPECT_THROW(lists.BeginRepeatList(), OmException);
  EXPECT_THROW(lists.End(), OmException);

  OmComposite full(OmStringCell("^9", "^9"));
  for (int i = 0; i < 8; ++i) full.Add(p);
  full.Add(OmStringCell("ninth", "ninth"));
  EXPECT_THROW(full.Add(p), OmException);
  EXPECT_THROW(full.BeginRepeatList(), OmException);
  EXPECT_EQ(full.GetText(), "ninth");
}

}  // namespace
