// tools/fidelity/png.h — an RGB canvas with lines and dots, saved as a PNG of our own making: signature,
// IHDR, one IDAT deflated by zlib, IEND. Plots of tracks need nothing more than that.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace fidelity {

struct Rgb {
    uint8_t r, g, b;
};

class Canvas {
public:
    Canvas(int width, int height, Rgb background);
    int width() const { return width_; }
    int height() const { return height_; }
    // Pixels outside the canvas are dropped: a track may run off the plot.
    void dot(int x, int y, int radius, Rgb colour);
    void line(double x0, double y0, double x1, double y1, Rgb colour);
    const std::vector<uint8_t>& pixels() const { return pixels_; }  // rows top down, 3 bytes a pixel

private:
    void set(int x, int y, Rgb colour);
    int width_, height_;
    std::vector<uint8_t> pixels_;
};

// Saves the canvas as an 8-bit truecolour PNG; false with nothing left behind when it could not.
bool gf_writePng(const std::filesystem::path& file, const Canvas& canvas);

}  // namespace fidelity
