// The reason of an exception's report, for checks that compare it.
#ifndef CORVO_REPORT_REASON_H
#define CORVO_REPORT_REASON_H

#include "CorvoException.h"
#include "ZimException.h"

#include <string>

namespace corvo_test {

// The text between the report's first label and "\nFile:".
inline std::string reasonIn(const std::string& report, const std::string& label)
{
    return report.substr(label.size(), report.find("\nFile:") - label.size());
}

inline std::string reasonOf(const Vesk::Corvo::Exception& e) { return reasonIn(e.getDescription(), "Reason:\t  "); }

inline std::string reasonOf(const Vesk::Zim::Exception& e) { return reasonIn(e.getMessage(), "Reason:\t\t"); }

} // namespace corvo_test

#endif
