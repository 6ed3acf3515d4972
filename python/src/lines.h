// SPDX-License-Identifier: MIT
//
// Spectra with all that goes with them, as objects: kvx.Spectrum and kvx.Transfer.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/LineFigures.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxRecording01/RecordingAnalysis.h>

#include "arrays.h"

namespace kvx::python {

/// The lines of a channel, in standard units and in those that are shown.
struct Spectrum {
    LineSpectrum lines;
    CUnitCtrl signalUnit;
    std::string name;
    std::string reference = {};  ///< of a transfer function
    std::vector<double> shown = {};
    std::vector<std::complex<double>> shownComplex = {};

    Spectrum(LineSpectrum of, const CUnitCtrl& unit, std::string channel, std::string referenceName = {});
    bool IsComplex() const { return !lines.imaginary.empty(); }
};
using SpectrumPointer = std::shared_ptr<Spectrum>;

/// A transfer function and its coherence.
struct Transfer {
    SpectrumPointer transfer;
    SpectrumPointer coherence;
    TransferLine largest;
};
using TransferPointer = std::shared_ptr<Transfer>;

std::vector<SpectrumPointer> SpectraFrom(std::vector<RecordSpectra> records);
std::vector<TransferPointer> TransfersFrom(RecordingTransfers transfers);

/// Spectra as the records of a data file: neighbours of one kind, unit and spacing become one record.
DataFileContent ContentOf(const std::vector<SpectrumPointer>& spectra);
/// The spectra among Spectrum and Transfer objects; empty when something else is among them.
std::vector<SpectrumPointer> SpectraAmong(const std::vector<py::object>& objects);

void BindLines(py::module_& module);

}  // namespace kvx::python
