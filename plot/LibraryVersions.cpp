// SPDX-License-Identifier: MIT
#include <KvxPlot01/LibraryVersions.h>

#include <cairo.h>
#include <pango/pango.h>

// Its header needs those of FILE and size_t in front of it.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

namespace kvx::plot {
namespace {

#define KVX_TEXT_OF(tokens) #tokens
#define KVX_TEXT(tokens) KVX_TEXT_OF(tokens)
#ifdef LIBJPEG_TURBO_VERSION
constexpr const char* kJpegName = "libjpeg-turbo";
constexpr const char* kJpegVersion = KVX_TEXT(LIBJPEG_TURBO_VERSION);
#else
constexpr const char* kJpegName = "libjpeg";
constexpr const char* kJpegVersion = KVX_TEXT(JPEG_LIB_VERSION);
#endif

}  // namespace

std::vector<LibraryVersion> PlotLibraries() {
    return {
        {"Cairo", ::cairo_version_string()}, {"Pango", ::pango_version_string()}, {kJpegName, kJpegVersion}};
}

}  // namespace kvx::plot
