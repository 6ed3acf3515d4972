// SPDX-License-Identifier: MIT
#include <KvxPlot01/detail/JpegEncoder.h>

#include <array>
#include <csetjmp>
#include <cstdio>  // jpeglib.h needs FILE
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include <jpeglib.h>

namespace kvx::plot {
namespace {

/// What libjpeg is given: where the bytes go and where it escapes to from an error. It copies nothing of it,
/// so that each part leads back to the whole.
struct Session {
    jpeg_compress_struct compressor = {};
    jpeg_error_mgr errors = {};
    jpeg_destination_mgr destination = {};
    std::jmp_buf escape;
    std::array<JOCTET, 65'536> piece;
    std::string* bytes = nullptr;
};

Session& SessionOf(j_common_ptr compressor) {
    return *static_cast<Session*>(compressor->client_data);
}
Session& SessionOf(j_compress_ptr compressor) {
    return *static_cast<Session*>(compressor->client_data);
}

bool Append(Session& session, std::size_t size) noexcept {
    try {
        session.bytes->append(reinterpret_cast<const char*>(session.piece.data()), size);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void StartPiece(j_compress_ptr compressor) {
    Session& session = SessionOf(compressor);
    session.destination.next_output_byte = session.piece.data();
    session.destination.free_in_buffer = session.piece.size();
}

boolean FinishPiece(j_compress_ptr compressor) {
    Session& session = SessionOf(compressor);
    if (!Append(session, session.piece.size())) std::longjmp(session.escape, 1);
    StartPiece(compressor);
    return TRUE;
}

void FinishLastPiece(j_compress_ptr compressor) {
    Session& session = SessionOf(compressor);
    if (!Append(session, session.piece.size() - session.destination.free_in_buffer)) {
        std::longjmp(session.escape, 1);
    }
}

// Between setjmp and longjmp there is nothing that a destructor would have to clean up.
bool Run(Session& session, const ImageView& image, int quality, double pixelsPerInch, JSAMPLE* row) {
    jpeg_compress_struct& compressor = session.compressor;
    compressor.err = jpeg_std_error(&session.errors);
    session.errors.error_exit = [](j_common_ptr failed) { std::longjmp(SessionOf(failed).escape, 1); };
    session.errors.emit_message = [](j_common_ptr, int) {};
    session.errors.output_message = [](j_common_ptr) {};
    compressor.client_data = &session;
    if (setjmp(session.escape) != 0) {
        jpeg_destroy_compress(&compressor);
        return false;
    }
    jpeg_create_compress(&compressor);
    session.destination.init_destination = StartPiece;
    session.destination.empty_output_buffer = FinishPiece;
    session.destination.term_destination = FinishLastPiece;
    compressor.dest = &session.destination;
    compressor.image_width = static_cast<JDIMENSION>(image.width);
    compressor.image_height = static_cast<JDIMENSION>(image.height);
    compressor.input_components = 3;
    compressor.in_color_space = JCS_RGB;
    jpeg_set_defaults(&compressor);
    jpeg_set_quality(&compressor, quality, TRUE);
    // Fine coloured lines would smear with colours at half the resolution.
    compressor.comp_info[0].h_samp_factor = 1;
    compressor.comp_info[0].v_samp_factor = 1;
    compressor.density_unit = 1;
    compressor.X_density = static_cast<UINT16>(pixelsPerInch + 0.5);
    compressor.Y_density = compressor.X_density;
    jpeg_start_compress(&compressor, TRUE);
    while (compressor.next_scanline < compressor.image_height) {
        const unsigned char* source =
            image.pixels + static_cast<std::ptrdiff_t>(compressor.next_scanline) * image.strideBytes;
        for (int x = 0; x < image.width; ++x) {
            std::uint32_t pixel;
            std::memcpy(&pixel, source + 4 * static_cast<std::ptrdiff_t>(x), sizeof(pixel));
            JSAMPLE* target = row + 3 * static_cast<std::ptrdiff_t>(x);
            target[0] = static_cast<JSAMPLE>(pixel >> 16 & 0xFFu);
            target[1] = static_cast<JSAMPLE>(pixel >> 8 & 0xFFu);
            target[2] = static_cast<JSAMPLE>(pixel & 0xFFu);
        }
        jpeg_write_scanlines(&compressor, &row, 1);
    }
    jpeg_finish_compress(&compressor);
    jpeg_destroy_compress(&compressor);
    return true;
}

}  // namespace

bool EncodeJpeg(const ImageView& image, int quality, double pixelsPerInch, std::string* bytes) {
    const auto session = std::make_unique<Session>();
    session->bytes = bytes;
    std::vector<JSAMPLE> row(3 * static_cast<std::size_t>(image.width));
    return Run(*session, image, quality, pixelsPerInch, row.data());
}

}  // namespace kvx::plot
