// The kernel-object tests re-run their own program as a helper process when
// a case needs a second process: "--helper ROLE NAME" selects what it does.
#ifndef CORVO_TEST_HELPER_PROCESS_H
#define CORVO_TEST_HELPER_PROCESS_H

#include <string>

namespace corvo_test {

// Runs this program as a helper in the given role on the object name, waits
// for it to end and gives its exit code (-1 if it could not be run).
int runHelper(const std::string& role, const std::string& name);

// A name that no other test process uses at the same time.
std::string uniqueName(const std::string& what);

} // namespace corvo_test

// ThreadSanitizer holds a signal back until the thread it is for reaches
// one of its checkpoints, which a suspended thread would have to reach
// first: suspension can't be tested under it.
#if defined(__SANITIZE_THREAD__)
#  define CORVO_SKIP_SUSPENSION_UNDER_TSAN() GTEST_SKIP() << "ThreadSanitizer defers the suspend signal"
#else
#  define CORVO_SKIP_SUSPENSION_UNDER_TSAN() (void)0
#endif

#endif
