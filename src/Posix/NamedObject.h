// Memory that the processes using one object name share (Linux: a file in
// /dev/shm per name). The name's object lives while any process has it
// open, and goes with the last one, also when the others were killed.
#ifndef CORVO_POSIX_NAMED_OBJECT_H
#define CORVO_POSIX_NAMED_OBJECT_H

#include "Win32Base.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Vesk {
namespace Corvo {
namespace Posix {

class NamedBlock
{
public:
    // What the block holds; a name in use by one kind can't be opened as another.
    enum class Kind : std::uint32_t
    {
        Mutex = 0x4D757478,
        Semaphore = 0x53656D61
    };

    // Attaches to the block of this name, or, when create is set and there is
    // none, makes one of the given size, has initialise fill it, and only
    // then publishes the name. existed tells which. Null with the last error
    // set on failure (ERROR_FILE_NOT_FOUND: no such name; ERROR_INVALID_HANDLE:
    // the name belongs to another kind).
    static std::unique_ptr<NamedBlock> open(LPCWSTR name, Kind kind, std::size_t size, bool create,
                                            const std::function<void(void*)>& initialise,
                                            bool& existed);

    // Leaves the name, and removes it when no other process holds it.
    ~NamedBlock();
    NamedBlock(const NamedBlock&) = delete;
    NamedBlock& operator=(const NamedBlock&) = delete;

    void* data() const;

    // Leaves the memory mapped when the block goes.
    void keepMapping() { m_keepMapping = true; }

private:
    NamedBlock(std::string path, int descriptor, void* mapping, std::size_t size);

    std::string m_path;
    int m_descriptor;
    void* m_mapping;
    std::size_t m_size;
    bool m_keepMapping = false;
};

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
