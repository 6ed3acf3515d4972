// SPDX-License-Identifier: MIT
//
// Levels in decibels: 20 lg of an amplitude to its reference, 10 lg of a power or density to the square of
// the reference.
#pragma once

#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/LevelReference.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

/// The reference of a signal in `unit` that a text names: a number, of the signal's unit or of one that
/// follows, "1e-6 m/s2"; the customary one for an empty text. Throws Error: kUnknownName for a unit that is
/// none, kBadValue for one of another dimension and for a number that is not above 0.
KVX_API LevelReference NamedReference(std::string_view text, const CUnitCtrl& unit);

/// A level of the lines, in their shown unit, in dB; minus infinity for 0.
KVX_API double DecibelsOf(const LineSpectrum& lines, double shownLevel, const LevelReference& reference);

/// An rms of the signal, in its shown unit, in dB.
KVX_API double DecibelsOfRms(const CUnitCtrl& unit, double shownRms, const LevelReference& reference);

}  // namespace kvx
