// The exception root of the developer toolkit, independent of the platform
// layer's tree.
#ifndef ZIM_EXCEPTION_H
#define ZIM_EXCEPTION_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Zim {

class CORVO_API Exception
{
public:
    Exception(const std::string& reason, const std::string& file,
              const std::string& function, const long& line);
    Exception(const Exception& other);
    Exception& operator=(const Exception& other);
    virtual ~Exception();

    std::string getMessage() const;

private:
    std::string m_message;
};

} // namespace Zim
} // namespace Vesk

#endif
