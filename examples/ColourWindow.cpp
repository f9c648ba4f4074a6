// colour-window: a window with an OpenGL context that clears to a colour
// changing over time and shows each frame, until the window is closed or
// the frame limit is reached.
//
//   colour-window [--frames N] [--screenshot FILE]
//
// --frames N stops after N frames (default 600, about ten seconds).
// --screenshot FILE saves the last frame as a binary PPM image, and the
// program prints the colour it cleared that frame to.
#include "Corvo.h"

// On Windows GL/gl.h needs the declarations of windows.h.
#ifdef _WIN32
#  include <windows.h>
#endif
#include <GL/gl.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Colour
{
    float red, green, blue;
};

// A slow walk around the colour wheel: each channel is a sine wave, a third
// of a turn behind the one before.
Colour colourAt(double seconds)
{
    const double turn = 2.0 * 3.14159265358979;
    auto channel = [&](double offset) {
        return static_cast<float>(0.5 + 0.5 * std::sin(turn * (seconds / 4.0 + offset)));
    };
    return Colour{channel(0.0), channel(1.0 / 3.0), channel(2.0 / 3.0)};
}

int byteOf(float channel) { return static_cast<int>(std::lround(channel * 255.0f)); }

// The frame being drawn, read from the back buffer before it is shown:
// rows of RGB from the top.
std::vector<unsigned char> readFrame(unsigned long width, unsigned long height)
{
    std::vector<unsigned char> bottomUp(width * height * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height), GL_RGB,
                 GL_UNSIGNED_BYTE, bottomUp.data());
    std::vector<unsigned char> topDown(bottomUp.size());
    const std::size_t row = width * 3;
    for (unsigned long y = 0; y < height; ++y)
        std::memcpy(&topDown[y * row], &bottomUp[(height - 1 - y) * row], row);
    return topDown;
}

bool savePpm(const std::string& path, unsigned long width, unsigned long height,
             const std::vector<unsigned char>& pixels)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return false;
    std::fprintf(file, "P6\n%lu %lu\n255\n", width, height);
    const bool written = std::fwrite(pixels.data(), 1, pixels.size(), file) == pixels.size();
    return std::fclose(file) == 0 && written;
}

} // namespace

int main(int argc, char** argv)
{
    long frames = 600;
    std::string screenshot;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--frames" && i + 1 < argc)
            frames = std::strtol(argv[++i], nullptr, 10);
        else if (option == "--screenshot" && i + 1 < argc)
            screenshot = argv[++i];
        else {
            std::fprintf(stderr, "usage: colour-window [--frames N] [--screenshot FILE]\n");
            return 2;
        }
    }

    using namespace Vesk::Corvo;
    try {
        Win32Window window(nullptr);
        window.create(400, 300, "Corvo colour window");
        window.show();
        Win32GraphicalContext context(window.getDisplay());
        context.acquire();

        const auto start = std::chrono::steady_clock::now();
        std::vector<unsigned char> lastFrame;
        unsigned long width = 0, height = 0;
        Colour colour = {0, 0, 0};
        long frame = 0;
        // capture is true once the window has been closed.
        for (; frame < frames && !window.capture(true); ++frame) {
            const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
            colour = colourAt(elapsed.count());
            if (!context.getDisplaySize(width, height))
                break;
            glViewport(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
            glClearColor(colour.red, colour.green, colour.blue, 1.0f);
            glClear(GL_COLOR_BUFFER_BIT);
            if (!screenshot.empty())
                lastFrame = readFrame(width, height);
            context.swapBuffers();
            std::this_thread::sleep_for(std::chrono::milliseconds(16));
        }
        context.release();
        window.destroy();

        std::printf("%ld frames\n", frame);
        if (!screenshot.empty() && frame > 0) {
            if (!savePpm(screenshot, width, height, lastFrame)) {
                std::fprintf(stderr, "colour-window: cannot write %s\n", screenshot.c_str());
                return 1;
            }
            std::printf("last frame cleared to %d %d %d, saved to %s\n", byteOf(colour.red),
                        byteOf(colour.green), byteOf(colour.blue), screenshot.c_str());
        }
    } catch (const Exception& e) {
        std::fprintf(stderr, "colour-window: %s\n", e.getDescription().c_str());
        return 1;
    }
    return 0;
}
