// The C runtime's directory listing (_findfirst and friends) on opendir.
#include "Win32File.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

struct Search
{
    DIR* directory;
    std::string path;    // the directory, with a closing '/'
    std::string pattern; // "*" where Windows was given "*.*"
};

// Fills data with the next entry that matches, or gives false at the end.
bool nextMatch(Search& search, _finddata64i32_t* data)
{
    while (const dirent* entry = readdir(search.directory)) {
        if (fnmatch(search.pattern.c_str(), entry->d_name, 0) != 0)
            continue;
        const std::string full = search.path + entry->d_name;
        struct stat status;
        if (stat(full.c_str(), &status) != 0)
            continue; // gone since it was listed
        std::memset(data, 0, sizeof *data);
        data->attrib = GetFileAttributesA(full.c_str());
        data->time_create = data->time_write = status.st_mtime;
        data->time_access = status.st_atime;
        data->size = static_cast<_fsize_t>(status.st_size);
        std::strncpy(data->name, entry->d_name, sizeof data->name - 1);
        return true;
    }
    return false;
}

} // namespace

// Failures set errno, as the C runtime does: ENOENT when nothing matches.
std::intptr_t _findfirst64i32(const char* pattern, _finddata64i32_t* data)
{
    const char* slash = std::strrchr(pattern, '/');
    const std::string path = slash ? std::string(pattern, slash + 1) : std::string("./");
    DIR* directory = opendir(path.c_str());
    if (!directory)
        return -1;
    std::string namePattern = slash ? slash + 1 : pattern;
    if (namePattern == "*.*")
        namePattern = "*";
    Search* search = new Search{directory, path, namePattern};
    if (!nextMatch(*search, data)) {
        _findclose(reinterpret_cast<std::intptr_t>(search));
        errno = ENOENT;
        return -1;
    }
    return reinterpret_cast<std::intptr_t>(search);
}

int _findnext64i32(std::intptr_t handle, _finddata64i32_t* data)
{
    return nextMatch(*reinterpret_cast<Search*>(handle), data) ? 0 : -1;
}

int _findclose(std::intptr_t handle)
{
    Search* search = reinterpret_cast<Search*>(handle);
    closedir(search->directory);
    delete search;
    return 0;
}
