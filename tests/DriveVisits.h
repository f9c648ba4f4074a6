// A DriveVisitor that writes down its calls.
#ifndef CORVO_TEST_DRIVE_VISITS_H
#define CORVO_TEST_DRIVE_VISITS_H

#include "CorvoDriveEnumerator.h"

#include <string>
#include <tuple>
#include <vector>

namespace corvo_test {

struct Visit
{
    bool secondary;
    std::string rootPath;
    Vesk::Corvo::DriveType type;
    bool operator==(const Visit& other) const
    {
        return std::tie(secondary, rootPath, type) == std::tie(other.secondary, other.rootPath, other.type);
    }
};

class VisitRecorder : public Vesk::Corvo::DriveVisitor
{
public:
    void visitPrimary(std::string rootPath, Vesk::Corvo::DriveType type) override
    {
        visits.push_back(Visit{false, rootPath, type});
    }
    void visitSecondary(std::string rootPath, Vesk::Corvo::DriveType type) override
    {
        visits.push_back(Visit{true, rootPath, type});
    }

    std::vector<Visit> visits;
};

} // namespace corvo_test

#endif
