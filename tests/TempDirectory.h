// A fresh, empty directory for one test, removed with everything in it.
#ifndef CORVO_TEST_TEMP_DIRECTORY_H
#define CORVO_TEST_TEMP_DIRECTORY_H

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace corvo_test {

class TempDirectory
{
public:
    explicit TempDirectory(const std::string& label)
    {
        static std::atomic<int> counter{0};
        m_path = std::filesystem::temp_directory_path() /
                 ("corvo-" + label + "-" + std::to_string(counter++) + "-" +
                  std::to_string(std::filesystem::file_time_type::clock::now().time_since_epoch().count()));
        std::filesystem::remove_all(m_path);
        std::filesystem::create_directories(m_path);
    }
    // Read-only files would stay behind on Windows.
    ~TempDirectory()
    {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(m_path, ignored))
            std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_write,
                                         std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(m_path, ignored);
    }

    std::string path() const { return m_path.string(); }
    std::string file(const std::string& name) const { return (m_path / name).string(); }
    void write(const std::string& name, const std::string& content) const { std::ofstream(file(name)) << content; }

    // The names in the directory, sorted.
    std::vector<std::string> names() const
    {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(m_path))
            result.push_back(entry.path().filename().string());
        std::sort(result.begin(), result.end());
        return result;
    }
    std::vector<std::string> lines(const std::string& name) const
    {
        std::ifstream in(file(name));
        std::vector<std::string> result;
        for (std::string line; std::getline(in, line);)
            result.push_back(line);
        return result;
    }

private:
    std::filesystem::path m_path;
};

} // namespace corvo_test

#endif
