// The reason of a Corvo exception's report, for checks that compare it.
#ifndef CORVO_REPORT_REASON_H
#define CORVO_REPORT_REASON_H

#include "CorvoException.h"

#include <string>

namespace corvo_test {

// The text between the report's first label and "\nFile:".
inline std::string reasonOf(const Vesk::Corvo::Exception& e)
{
    const std::string report = e.getDescription();
    const std::string label = "Reason:\t  ";
    return report.substr(label.size(), report.find("\nFile:") - label.size());
}

} // namespace corvo_test

#endif
