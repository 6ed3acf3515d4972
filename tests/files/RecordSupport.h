// SPDX-License-Identifier: MIT
//
// Records spelled out as bytes, for the tests of records and of whole data files.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "tests/files/FileSupport.h"

struct RecordImage : ByteImage {
    /// A single unit as its record of 128 bytes.
    RecordImage& Unit(std::uint32_t code) {
        U32(2).U32(code).U32(1).U32(1);
        for (int member = 2; member <= 4; ++member) U32(0x0F000001).U32(1);
        Zeros(128 - 40);
        return *this;
    }
    /// The same as the first generation held it.
    RecordImage& FirstUnit(std::uint32_t code) {
        U32(code).U32(1).U32(1).U32(0x0F000001).U32(1);
        return *this;
    }
    RecordImage& Names(std::initializer_list<std::u16string_view> names) {
        U16(static_cast<std::uint16_t>(names.size()));
        for (const std::u16string_view name : names) Text("\xFF\xFE\xFF").U(name.size(), 1).Utf16(name);
        return *this;
    }
    RecordImage& Doubles(std::initializer_list<double> values) {
        for (const double value : values) F64(value);
        return *this;
    }
    RecordImage& Floats(std::initializer_list<float> values) {
        for (const float value : values) F32(value);
        return *this;
    }
    RecordImage& Words(std::initializer_list<std::uint32_t> values) {
        for (const std::uint32_t value : values) U32(value);
        return *this;
    }
};

/// A waveform of one row and two columns, two samples each, on an axis of 0.5 s from index -1 on.
inline std::string WaveBytes() {
    RecordImage image;
    image.Words({1, 1});
    image.Unit(0x01000001).Unit(0x00010004).Names({u"row"}).Names({u"Data-Col-001", u"列"});
    image.Words({1, 0, 1, 2, 2});  // the matrix, then its cells
    image.Words({1, 0, 2}).Doubles({1.0, 2.0});
    image.Words({1, 0, 2}).Doubles({3.0, -4.5});
    image.F64(0.5).U32(0xFFFFFFFF);
    return image.bytes;
}

/// A complex spectrum of one cell at 10 and 12.5 Hz.
inline std::string SpectrumBytes() {
    RecordImage image;
    image.Words({1, 2});
    image.Unit(0x02000001).Unit(0x00010004).Names({u"Data-Row-001"}).Names({u"Data-Col-001"});
    image.Words({1, 1, 1, 1, 2});
    image.Words({1, 1, 2}).Doubles({1.0, 2.0}).Doubles({-1.0, 0.25});
    image.Words({1, 2}).Doubles({10.0, 12.5});
    return image.bytes;
}

/// The waveform as the first generation held it.
inline std::string FirstWaveBytes() {
    RecordImage image;
    image.U32(1);
    image.FirstUnit(0x01000001).FirstUnit(0x00010004);
    image.U16(1).U(3, 1).Text("row");  // text in the system's code page
    image.U16(2).U(0, 1).U(2, 1).Text("\x97\xF1");
    image.Words({0, 1, 2, 2});
    image.Words({0, 2}).Floats({1.0F, 2.0F});
    image.Words({0, 2}).Floats({3.0F, -3.4028234663852886e38F});
    image.F64(0.5).U32(0xFFFFFFFF);
    return image.bytes;
}

/// The spectrum as the first generation held it.
inline std::string FirstSpectrumBytes() {
    RecordImage image;
    image.U32(2);
    image.FirstUnit(0x02000001).FirstUnit(0x00010004).U16(0).U16(0);
    image.Words({1, 1, 1, 2});
    image.Words({1, 2}).Floats({1.0F, 2.0F}).Floats({-1.0F, 0.25F});
    image.Words({2}).Floats({10.0F, 12.5F});
    return image.bytes;
}
