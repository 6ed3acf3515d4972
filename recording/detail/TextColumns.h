// SPDX-License-Identifier: MIT
//
// What becomes of the columns of a text table: which of them is the axis, which make channels, alone or as
// the parts of complex ones, and which are left out.
#pragma once

#include <complex>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/Statements.h>
#include <KvxRecording01/detail/TextLayout.h>

namespace kvx {

/// The axis of a text, as far as its headings and what is stated of it say it.
struct TextAxis {
    std::size_t column = kNoColumn;  ///< that is the axis, or may be it
    bool isCertain = false;          ///< whether the column is not just a guess, which its numbers decide
    CUnitCtrl::DIM_CODE dimension = CUnitCtrl::DIM_TIME;
    EntryUnit unit = {};            ///< of its numbers; none for the standard unit
    std::wstring unknownUnit = {};  ///< what is stated that is none; the dimension is none then
    std::string remark = {};        ///< may be empty
};

/// Throws Error for statements that contradict the text.
TextAxis FindAxis(const TextLayout& layout, const TextOptions& options);

/// The columns that a channel is made of.
struct TextChannel {
    RecordingInfo::Channel channel;
    std::size_t first;               ///< of the samples, the complex ones, the real parts or the magnitudes
    std::size_t second = kNoColumn;  ///< of the imaginary parts or the phases
    double phaseDegrees = 0.0;       ///< what a phase of 1 is; 0 where parts are no phases
    bool isInDecibels = false;       ///< whether magnitudes are
};

/// The channels that the columns other than the axis make. Pairs of magnitude and phase are complex on an
/// axis other than time. Adds sentences on what was left out or assumed.
std::vector<TextChannel> ListChannels(const TextLayout& layout, const TextAxis& axis,
                                      std::vector<std::string>* remarks);

/// The number of that magnitude and phase; kNoValue for both parts where one is missing.
std::complex<double> FromPolar(const TextChannel& channel, double magnitude, double phase);

}  // namespace kvx
