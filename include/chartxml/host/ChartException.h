// ChartException: a reported failure with its UTF-8 message and the source
// file name and line of the operation that raised it. It is passed to
// ChartErrorHandler::error, never thrown across a public operation.
#ifndef CHARTXML_HOST_CHARTEXCEPTION_H_
#define CHARTXML_HOST_CHARTEXCEPTION_H_

#include <exception>
#include <string>

#include "chartxml/export.h"

class CHARTXML_HOST_EXPORT ChartException : public std::exception {
 public:
  // `file` is a report source name such as "backend/chartxml/src/chart".
  ChartException(std::string message, std::string file, int line);

  const char* what() const noexcept override { return message_.c_str(); }
  const std::string& message() const { return message_; }
  const std::string& file() const { return file_; }
  int line() const { return line_; }

 private:
  std::string message_;
  std::string file_;
  int line_;
};

#endif  // CHARTXML_HOST_CHARTEXCEPTION_H_
