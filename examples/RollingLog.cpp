// rolling-log: writes records into a rolling series of small log files,
// enough for the series to roll several times, then reads back what the
// series kept, oldest first.
//   rolling-log [DIRECTORY]   (a directory of its own, emptied first)
#include <Corvo.h>

#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

using Vesk::Zim::Logger;
namespace fs = std::filesystem;

int main(int argc, char** argv)
{
    const fs::path directory =
        argc > 1 ? fs::path(argv[1]) : fs::temp_directory_path() / "corvo-rolling-log";
    // A series goes on after the files that an earlier run left in the
    // directory, and the policy writes nothing into a directory that is
    // missing: start from an empty one.
    fs::remove_all(directory);
    fs::create_directories(directory);

    // The filter passes records at its level and above; LogInfo is the
    // lowest, so every record passes. The first use of the Logger prints a
    // line of level names to standard output.
    Logger logger(Vesk::Zim::LogInfo);
    {
        // At most 3 files; a file rolls after the record that takes it past
        // 200 characters. Numbers in the names count round 0, 1, 2, 0, ...
        Vesk::Zim::LogToRollingFilePolicy files(directory.string(), "app-%hu.log", 3, 200);
        logger.addPolicy(files, true);
        for (int record = 1; record <= 20; ++record)
            logger.logTagf(Vesk::Zim::LogInfo, "rolling-log", "record %d", record);
        // The Logger keeps the policy's address: take it out before the
        // policy goes.
        logger.disablePolicy(files.getName());
    }

    // The numbers in the names wrap, so order the files by the first record
    // each one holds; a file without records is the one that the series
    // writes next. Every record is one line, already on the disk.
    std::map<int, std::pair<std::string, std::vector<std::string>>> series;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        std::ifstream file(entry.path());
        std::vector<std::string> lines;
        int first = INT_MAX;
        for (std::string line; std::getline(file, line); lines.push_back(line)) {
            const std::string::size_type at = line.rfind("record ");
            if (first == INT_MAX && at != std::string::npos)
                first = std::stoi(line.substr(at + 7));
        }
        series[first] = {entry.path().filename().string(), lines};
    }
    for (const auto& file : series) {
        std::printf("%s, %u records:\n", file.second.first.c_str(),
                    static_cast<unsigned>(file.second.second.size()));
        for (const std::string& line : file.second.second)
            std::printf("  %s\n", line.c_str());
    }
    std::printf("%u files kept, from record %d\n", static_cast<unsigned>(series.size()),
                series.empty() ? 0 : series.begin()->first);
    return 0;
}
