// OmComposite: a parameterised message of the cell-text library, with a
// localised and an English form.
//
// A pattern holds places "^1" to "^9". Parameters fill them in the order they
// are added: the first parameter "^1", the second "^2", and so on. A repeat
// list (BeginRepeatList ... EndRepeatList) fills one place with all the
// parameters added between the two calls, joined by ", ". "^^" stands for a
// literal "^".
//
// The text can be read at any time (GetText, GetEnglishText); Substitute only
// decides, once End has been called, how places left without a parameter read:
// removed (flag true) or kept as written (flag false, the default before
// Substitute is called).
//
// Misuse throws OmException: a parameter or repeat list after End, a nested or
// unbalanced repeat list, more than 9 places' worth of parameters, or End
// inside an open repeat list.
#ifndef CHARTXML_HOST_OMCOMPOSITE_H_
#define CHARTXML_HOST_OMCOMPOSITE_H_

#include <stdexcept>
#include <string>
#include <vector>

#include "chartxml/export.h"

class CHARTXML_HOST_EXPORT OmException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A cell: one text in its localised and English UTF-8 forms.
struct CHARTXML_HOST_EXPORT OmStringCell {
  OmStringCell(std::string text, std::string english)
      : text(std::move(text)), english(std::move(english)) {}
  std::string text;
  std::string english;
};

class CHARTXML_HOST_EXPORT OmComposite {
 public:
  explicit OmComposite(OmStringCell pattern);

  void Add(const OmStringCell& parameter);
  void BeginRepeatList();
  void EndRepeatList();
  void End();
  // `dropUnfilled`: places without a parameter read as nothing.
  void Substitute(bool dropUnfilled);

  bool ended() const { return ended_; }
  // The substituted texts (UTF-8).
  std::string GetText() const;
  std::string GetEnglishText() const;

 private:
  std::string substitute(bool english) const;

  OmStringCell pattern_;
  std::vector<std::vector<OmStringCell>> places_;  // one entry per filled place
  bool inRepeat_ = false;
  bool ended_ = false;
  bool dropUnfilled_ = false;
};

#endif  // CHARTXML_HOST_OMCOMPOSITE_H_
