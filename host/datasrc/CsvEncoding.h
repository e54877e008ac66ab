// The text of a data file in the host's code page (internal to the host).
//
// The file's encoding is the one the caller names (a code-page name as ICU
// knows it, or a Windows name such as CP1252 or CP932); else the one its
// byte order mark shows (UTF-8, UTF-16LE or UTF-16BE); else the host's code
// page (cxh_set_code_page, CHARTXML_CODEPAGE), UTF-8 by default and when the
// setting names no known code page. A byte order mark at the very start is
// dropped; one anywhere else is refused, and so is one that contradicts the
// encoding the caller names.
//
// The text is handed on in the host's code page, the encoding every text of
// a data source is in. Bytes invalid in the file's encoding, and characters
// the host's code page cannot hold, are refused with the line and column
// where they stand (columns count characters).
#ifndef CHARTXML_HOST_DATASRC_CSVENCODING_H_
#define CHARTXML_HOST_DATASRC_CSVENCODING_H_

#include <string>

namespace cxhost {

// Replaces `bytes`, the content of the file reports call `name`, by its text
// in the host's code page; `encoding` is the caller's name for the file's
// encoding, "" when not given. False (reported) when the text cannot be
// read; `bytes` is then unspecified.
bool decodeToHostCodePage(const std::string& name, std::string& bytes, const std::string& encoding);

}  // namespace cxhost

#endif  // CHARTXML_HOST_DATASRC_CSVENCODING_H_
