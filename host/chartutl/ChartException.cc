#include "chartxml/host/ChartException.h"

#include <utility>

ChartException::ChartException(std::string message, std::string file, int line)
    : message_(std::move(message)), file_(std::move(file)), line_(line) {}
