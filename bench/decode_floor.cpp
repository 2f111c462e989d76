// SPDX-License-Identifier: GPL-3.0-or-later
// The decoding floor: libjpeg-turbo alone decodes the benchmark's camera pictures, one after the
// other in one thread, at the DCT scale Kestrel's decoder picks when a picture is to fit the
// given area, with the same fast DCT and plain upsampling it asks libjpeg-turbo for, into the
// same 32-bit pixels. Prints the CPU time per picture; nothing else a viewer must do
// (receive, parse, scale, paint) is in it.
// Usage: decode_floor <area width> <area height> <picture.jpg>...
// The pictures are decoded in turn, as many times each, so they weigh alike.
#include <cstddef>
#include <cstdio> // before jpeglib.h, which uses size_t and FILE without including them

#include <jpeglib.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

double cpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// As Kestrel's decoder chooses for a scaled size: the largest of 1/1, 1/2, 1/4, 1/8 that keeps the
// picture at least as large as wanted.
unsigned denominatorFor(unsigned width, unsigned height, unsigned wantedWidth,
                        unsigned wantedHeight)
{
    const unsigned ratio = std::min(width / wantedWidth, height / wantedHeight);
    return ratio < 2 ? 1 : ratio < 4 ? 2 : ratio < 8 ? 4 : 8;
}

// Decodes one picture as fitted into the area; returns the DCT scale's denominator.
unsigned decode(const std::vector<unsigned char> &bytes, unsigned areaWidth, unsigned areaHeight,
                std::vector<unsigned char> &pixels)
{
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, bytes.data(), bytes.size());
    jpeg_read_header(&info, TRUE);
    const double fit =
        std::min(double(areaWidth) / info.image_width, double(areaHeight) / info.image_height);
    info.scale_num = 1;
    info.scale_denom =
        denominatorFor(info.image_width, info.image_height, unsigned(info.image_width * fit),
                       unsigned(info.image_height * fit));
    info.dct_method = JDCT_IFAST;
    info.do_fancy_upsampling = FALSE;
    info.out_color_space = JCS_EXT_BGRX;
    jpeg_start_decompress(&info);
    const size_t stride = size_t(info.output_width) * 4;
    pixels.resize(stride * info.output_height);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = pixels.data() + stride * info.output_scanline;
        jpeg_read_scanlines(&info, &row, 1);
    }
    const unsigned denominator = info.scale_denom;
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    return denominator;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 4) {
        std::fprintf(stderr, "usage: decode_floor <area width> <area height> <picture.jpg>...\n");
        return 2;
    }
    const unsigned width = unsigned(std::atoi(argv[1]));
    const unsigned height = unsigned(std::atoi(argv[2]));
    if (width == 0 || height == 0)
        return 2;
    constexpr int rounds = 300;
    std::vector<std::vector<unsigned char>> pictures;
    for (int i = 3; i < argc; ++i) {
        std::ifstream file(argv[i], std::ios::binary);
        pictures.emplace_back(std::istreambuf_iterator<char>(file),
                              std::istreambuf_iterator<char>());
        if (pictures.back().empty()) {
            std::fprintf(stderr, "decode_floor: cannot read %s\n", argv[i]);
            return 1;
        }
    }
    std::vector<unsigned char> pixels;
    std::string scales;
    for (const auto &picture : pictures) // warm up, and say which scale each camera gets
        scales += " 1/" + std::to_string(decode(picture, width, height, pixels));
    const double start = cpuSeconds();
    for (int i = 0; i < rounds; ++i) {
        for (const auto &picture : pictures)
            decode(picture, width, height, pixels);
    }
    const double perPicture = (cpuSeconds() - start) * 1000 / (rounds * double(pictures.size()));
    std::printf("libjpeg-turbo alone, DCT scale%s into %ux%u: %.3f ms CPU per picture\n",
                scales.c_str(), width, height, perPicture);
    std::printf("FLOOR_MS=%.4f\n", perPicture);
    return 0;
}
