// Named objects in /dev/shm (Linux).
//
// Every process that has a name open holds a shared open-file-description
// lock on its file, which the kernel drops when the process ends, however it
// ends. A process that closes its last handle upgrades its lock without
// waiting: that succeeds only when no other process holds the name, and then
// it removes the file. A file that nobody holds a lock on was left by
// processes that were killed: the next opener removes it. A new object is
// made and filled in a file that has no name yet, and linked to its name
// only then: nobody sees it half made, and a process killed while making it
// leaves no file.
#include "NamedObject.h"
#include "ObjectName.h"
#include "PosixSupport.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace Vesk {
namespace Corvo {
namespace Posix {

namespace {

const char* const directory = "/dev/shm/";

struct Header
{
    std::uint32_t kind;
    std::uint32_t reserved;
};
const std::size_t dataOffset = 64; // keeps the object's locks on their own line

bool lockFile(int descriptor, short type, bool wait)
{
    struct flock region = {};
    region.l_type = type;
    region.l_whence = SEEK_SET;
    const int command = wait ? F_OFD_SETLKW : F_OFD_SETLK;
    return retryOnInterrupt([&] { return fcntl(descriptor, command, &region); }) == 0;
}

bool linked(int descriptor)
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && status.st_nlink > 0;
}

void* map(int descriptor, std::size_t size)
{
    void* mapping = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return mapping == MAP_FAILED ? nullptr : mapping;
}

// Makes the object in a file without a name, and links it to path only
// once it is whole: a process killed on the way leaves nothing behind. False
// with errno EEXIST when the name was taken meanwhile.
bool publishNew(const std::string& path, NamedBlock::Kind kind, std::size_t total,
                const std::function<void(void*)>& initialise, int& descriptor, void*& mapping)
{
    descriptor = open(directory, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return false;
    bool published = false;
    if (ftruncate(descriptor, static_cast<off_t>(total)) == 0 &&
        (mapping = map(descriptor, total)) != nullptr) {
        static_cast<Header*>(mapping)->kind = static_cast<std::uint32_t>(kind);
        initialise(static_cast<char*>(mapping) + dataOffset);
        // Linking a descriptor itself would need a privilege; its /proc
        // entry does not.
        const std::string self = "/proc/self/fd/" + std::to_string(descriptor);
        published = lockFile(descriptor, F_RDLCK, false) &&
                    linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
    }
    if (!published) {
        const int error = errno;
        if (mapping)
            munmap(mapping, total);
        close(descriptor);
        mapping = nullptr;
        errno = error;
    }
    return published;
}

// Attaches to the object that path names, mapping all of its file. False
// with errno ENOENT when there is none, or none any more.
bool attachExisting(const std::string& path, int& descriptor, void*& mapping, std::size_t& size)
{
    descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    if (lockFile(descriptor, F_WRLCK, false)) {
        // Nobody holds it: what is left of processes that were killed.
        if (linked(descriptor))
            unlink(path.c_str());
        close(descriptor);
        errno = ENOENT;
        return false;
    }
    struct stat status;
    if (!lockFile(descriptor, F_RDLCK, true) || fstat(descriptor, &status) != 0 ||
        status.st_nlink == 0) {
        // Removed by its last holder since it was opened.
        close(descriptor);
        errno = ENOENT;
        return false;
    }
    size = static_cast<std::size_t>(status.st_size);
    if (size < sizeof(Header) || (mapping = map(descriptor, size)) == nullptr) {
        close(descriptor);
        errno = EINVAL;
        return false;
    }
    return true;
}

} // namespace

std::unique_ptr<NamedBlock> NamedBlock::open(LPCWSTR name, Kind kind, std::size_t size, bool create,
                                             const std::function<void(void*)>& initialise,
                                             bool& existed)
{
    std::string fileName;
    if (!objectFileName(name, fileName))
        return nullptr;
    const std::string path = directory + fileName;
    const std::size_t total = dataOffset + size;
    int descriptor = -1;
    void* mapping = nullptr;
    std::size_t mapped = total;
    for (;;) {
        existed = true;
        if (attachExisting(path, descriptor, mapping, mapped))
            break;
        if (errno != ENOENT)
            return failFromErrno(nullptr);
        if (!create)
            return fail(ERROR_FILE_NOT_FOUND, nullptr);
        existed = false;
        mapped = total;
        if (publishNew(path, kind, total, initialise, descriptor, mapping))
            break;
        if (errno != EEXIST)
            return failFromErrno(nullptr);
    }
    std::unique_ptr<NamedBlock> block(new NamedBlock(path, descriptor, mapping, mapped));
    if (mapped != total || static_cast<Header*>(mapping)->kind != static_cast<std::uint32_t>(kind))
        return fail(ERROR_INVALID_HANDLE, nullptr);
    return block;
}

NamedBlock::NamedBlock(std::string path, int descriptor, void* mapping, std::size_t size)
    : m_path(std::move(path)), m_descriptor(descriptor), m_mapping(mapping), m_size(size)
{
}

NamedBlock::~NamedBlock()
{
    if (lockFile(m_descriptor, F_WRLCK, false) && linked(m_descriptor))
        unlink(m_path.c_str());
    // A mapping holds the open file, and so its lock, for as long as it
    // stays: one that is kept lets go of the lock itself.
    if (m_keepMapping)
        lockFile(m_descriptor, F_UNLCK, false);
    else
        munmap(m_mapping, m_size);
    close(m_descriptor);
}

void* NamedBlock::data() const { return static_cast<char*>(m_mapping) + dataOffset; }

} // namespace Posix
} // namespace Corvo
} // namespace Vesk
