// A library for the loader tests to load: one function and one datum.
#if defined(_WIN32)
#  define SAMPLE_EXPORT __declspec(dllexport)
#else
#  define SAMPLE_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

SAMPLE_EXPORT int sampleAnswer = 42;

SAMPLE_EXPORT int sampleAdd(int a, int b) { return a + b + sampleAnswer; }

}
