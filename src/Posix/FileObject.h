// The kernel object behind a file handle: an open descriptor, closed when
// the last handle to it goes. Only the layer sees this.
#ifndef CORVO_POSIX_FILE_OBJECT_H
#define CORVO_POSIX_FILE_OBJECT_H

#include "Handle.h"

namespace Vesk {
namespace Corvo {
namespace Posix {

class FileObject : public KernelObject
{
public:
    static constexpr Kind objectKind = Kind::File;

    FileObject(int descriptor, bool regular) : KernelObject(objectKind), m_descriptor(descriptor), m_regular(regular)
    {
    }
    ~FileObject() override;

    int descriptor() const { return m_descriptor; }
    // A regular file rather than a device, pipe or socket.
    bool regular() const { return m_regular; }

private:
    const int m_descriptor;
    const bool m_regular;
};

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
