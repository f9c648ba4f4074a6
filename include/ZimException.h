/// \file
/// The exception root of the developer toolkit, independent of the platform
/// layer's tree.
#ifndef ZIM_EXCEPTION_H
#define ZIM_EXCEPTION_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Zim {

/// The toolkit's exception: the Logger's failures. It derives neither from
/// std::exception nor from Vesk::Corvo::Exception, so catch it by its own
/// name; one that nobody catches ends the program with only its type name.
class CORVO_API Exception
{
public:
    /// Builds the report from reason, source file, function and line.
    Exception(const std::string& reason, const std::string& file,
              const std::string& function, const long& line);
    /// Copies the report.
    Exception(const Exception& other);
    /// Copies the report.
    Exception& operator=(const Exception& other);
    /// Nothing to release.
    virtual ~Exception();

    /// The report, four lines that start "Reason:", "File:", "Function:"
    /// and "Line:", their values aligned by tabs.
    std::string getMessage() const;

private:
    std::string m_message;
};

} // namespace Zim
} // namespace Vesk

#endif
