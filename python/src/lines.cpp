// SPDX-License-Identifier: MIT
#include "lines.h"

#include <algorithm>
#include <array>
#include <utility>

#include <KvxDevCommon01/dsp/ProfileComparison.h>
#include <KvxDevCommon01/dsp/ProfileEditing.h>
#include <KvxDevCommon01/files/SpectrumRecord.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include "results.h"
#include "signals.h"
#include "units.h"

namespace kvx::python {
namespace {

struct NamedKind {
    const char* name;
    LineKind kind;
};
constexpr std::array kKinds = {
    NamedKind{"density", LineKind::kDensity},
    NamedKind{"amplitude", LineKind::kAmplitude},
    NamedKind{"complex", LineKind::kComplex},
    NamedKind{"transfer", LineKind::kTransfer},
    NamedKind{"coherence", LineKind::kCoherence},
    NamedKind{"power", LineKind::kPower},
    NamedKind{"rms", LineKind::kRms},
    NamedKind{"peak-to-peak", LineKind::kPeakToPeak},
};

LineKind KindNamed(const std::string& name) {
    const auto found = std::ranges::find_if(kKinds, [&](const NamedKind& each) { return name == each.name; });
    if (found == kKinds.end())
        throw Error(
            ErrorKind::kUnknownName,
            "there is no kind of lines " + Quote(name) +
                ", only density, amplitude, complex, transfer, coherence, power, rms and peak-to-peak");
    return found->kind;
}

std::string KindOf(const Spectrum& self) {
    return kKinds[static_cast<std::size_t>(self.lines.kind)].name;
}

std::int64_t CountOf(const Spectrum& self) {
    return std::ssize(self.lines.real);
}

LineBand BandOf(const Spectrum& self, double low, std::optional<double> high) {
    return LinesInBand(low, high, self.lines.spacingHz, CountOf(self));
}

double Shown(const CUnitCtrl& unit, double value) {
    return unit.ConvDtoI(value, 1.0, 0);
}

py::array ValuesOf(const py::object& self) {
    const auto& spectrum = py::cast<const Spectrum&>(self);
    if (spectrum.IsComplex()) return ViewOf(std::span(spectrum.shownComplex), self);
    return ViewOf(std::span(spectrum.shown), self);
}

constexpr std::array kVerdicts = {"within", "out of tolerance", "beyond abort"};

const char* VerdictName(Verdict verdict) {
    return kVerdicts[static_cast<std::size_t>(verdict)];
}

ComparedLineResult LineOf(const ComparedLine& line) {
    return ComparedLineResult::Of(line.hz, line.target, line.measured, line.differenceDb,
                                  VerdictName(line.verdict));
}

struct ComparisonOptions {
    double low;
    std::optional<double> high;
    std::optional<std::vector<double>> edges;
    std::string judge;
    double allowed;
};

/// The densities in the unit of the profile, or as they are shown where it has none.
std::vector<double> LinesIn(const Profile& profile, const Spectrum& density) {
    if (density.lines.kind != LineKind::kDensity) Refuse("only densities are compared with a profile");
    if (!profile.unit) return density.shown;
    const CUnitCtrl unit = DensityUnit(*profile.unit).value_or(CUnitCtrl());
    if (!IsConvertible(unit, density.lines.unit))
        Refuse("the profile is in " + UnitText(unit) + ", the density in " + UnitText(density.lines.unit));
    std::vector<double> lines = density.lines.real;
    unit.ConvDtoI(lines.data(), lines.data(), std::ssize(lines), 1.0, 0);
    return lines;
}

ComparisonResult Compare(const Spectrum& self, const Profile& profile, const ComparisonOptions& options) {
    if (options.judge != "lines" && options.judge != "bands")
        throw Error(ErrorKind::kUnknownName, "judge is lines or bands, not " + Quote(options.judge));
    const ComparisonChoice choice = {options.low, options.high, options.edges.value_or(std::vector<double>()),
                                     options.judge == "bands", options.allowed};
    const ProfileComparison result = Unlocked([&] {
        return CompareWithProfile(LinesIn(profile, self), self.lines.spacingHz,
                                  {profile.profile, profile.tolerance, profile.abort}, choice);
    });
    std::vector<ComparedBandResult> bands;
    for (const ComparedBand& band : result.bands) {
        bands.push_back(ComparedBandResult::Of(band.fromHz, band.toHz, band.target, band.measured,
                                               band.differenceDb, VerdictName(band.verdict)));
    }
    return ComparisonResult::Of(VerdictName(result.verdict), result.targetRms, result.measuredRms,
                                result.differenceDb, result.lines, result.outOfTolerance, result.beyondAbort,
                                LineOf(result.highest), LineOf(result.lowest), bands);
}

SpectrumPointer MakeSpectrum(const ArrayLike& values, double spacing, const UnitLike& unit,
                             const std::string& kind, const std::string& name, std::int64_t blocks,
                             double noiseBandwidth) {
    const CUnitCtrl signal = UnitOf(unit);
    LineSpectrum lines;
    lines.kind = KindNamed(kind);
    const bool isQuotient = lines.kind == LineKind::kTransfer || lines.kind == LineKind::kCoherence;
    lines.unit = isQuotient ? signal : LineUnit(lines.kind, signal);
    if (!(spacing > 0.0)) Refuse("spacing is not above 0");
    lines.spacingHz = spacing;
    lines.blocks = blocks;
    lines.noiseBandwidth = noiseBandwidth;
    if (IsComplex(values)) {
        const ComplexRows rows(values, "values");
        if (!rows.IsSingle()) Refuse("values has more than one dimension");
        for (const auto& value : rows.Row(0)) {
            lines.real.push_back(value.real());
            lines.imaginary.push_back(value.imag());
        }
    } else {
        lines.real = NumbersOf(values, "values");
    }
    if (lines.real.empty()) Refuse("values is empty");
    ToStandard(lines.unit, lines.real, false);
    ToStandard(lines.unit, lines.imaginary, false);
    return std::make_shared<Spectrum>(std::move(lines), signal, name);
}

std::vector<PeakResult> PeaksOf(const Spectrum& self, std::size_t count, double low,
                                std::optional<double> high) {
    std::vector<PeakResult> peaks;
    for (const SpectrumPeak& peak : FindPeaks(self.lines, BandOf(self, low, high), count))
        peaks.push_back(PeakResult::Of(peak.hz, Shown(self.lines.unit, peak.level), peak.q));
    return peaks;
}

void BindSpectrum(py::module_& module) {
    py::class_<Spectrum, SpectrumPointer> spectrum(
        module, "Spectrum",
        R"(The lines of a spectrum with unit, spacing, name and what was averaged; line k stands at k spacing.

values:          the lines, real or complex, in the unit that belongs to `kind`
spacing:         Hz
unit:            that of the signal; of a transfer function or coherence that of the lines
kind:            "density", "amplitude", "complex", "transfer", "coherence", "power", "rms" or "peak-to-peak"
blocks:          averaged
noise_bandwidth: of the window, in lines

A value that does not change, and pickles.)");
    spectrum.def(py::init(&MakeSpectrum), py::arg("values"), py::arg("spacing"), py::arg("unit") = "",
                 py::arg("kind") = "density", py::arg("name") = "", py::arg("blocks") = 1,
                 py::arg("noise_bandwidth") = 1.0);
    spectrum.def_property_readonly("kind", &KindOf, "As the constructor names it.");
    spectrum.def_readonly("name", &Spectrum::name, "Of the channel.");
    spectrum.def_readonly("reference", &Spectrum::reference,
                          "Of a transfer function the name of the channel that excites.");
    spectrum.def_property_readonly(
        "unit", [](const Spectrum& self) { return self.lines.unit; }, "Of the values.");
    spectrum.def_property_readonly(
        "signal_unit", [](const Spectrum& self) { return self.signalUnit; }, "Of the signal.");
    spectrum.def_property_readonly(
        "spacing", [](const Spectrum& self) { return self.lines.spacingHz; }, "Hz from line to line.");
    spectrum.def_property_readonly(
        "blocks", [](const Spectrum& self) { return self.lines.blocks; }, "Averaged.");
    spectrum.def_property_readonly(
        "noise_bandwidth", [](const Spectrum& self) { return self.lines.noiseBandwidth; },
        "Of the window, in lines.");
    spectrum.def_property_readonly(
        "frequencies",
        [](const Spectrum& self) { return Ramp(self.lines.real.size(), self.lines.spacingHz); },
        "Of the lines, Hz.");
    spectrum.def_property_readonly(
        "values", &ValuesOf, "The lines in `unit`, of complex ones complex; a view that is not written to.");
    spectrum.def_property_readonly(
        "levels",
        [](const Spectrum& self) {
            std::vector<double> levels = self.lines.Levels();
            ToShown(self.lines.unit, levels, false);
            return ArrayOf(std::move(levels));
        },
        "The lines, of complex ones their magnitudes.");
    spectrum.def(
        "rms",
        [](const Spectrum& self, double low, std::optional<double> high) {
            return Shown(self.signalUnit, BandRms(self.lines, BandOf(self, low, high)));
        },
        py::arg("low") = 0.0, py::arg("high") = py::none(),
        "The rms of the signal in a band, Hz, in its unit, freed of the window's spreading; of densities and "
        "amplitudes.");
    spectrum.def(
        "highest",
        [](const Spectrum& self, double low, std::optional<double> high) {
            const std::vector<double> levels = self.lines.Levels();
            const std::int64_t line = HighestLine(levels, BandOf(self, low, high));
            return std::make_tuple(self.lines.FrequencyOf(line),
                                   Shown(self.lines.unit, levels[static_cast<std::size_t>(line)]));
        },
        py::arg("low") = 0.0, py::arg("high") = py::none(),
        "(frequency, level) of the highest line in a band, the one at 0 Hz left out.");
    spectrum.def("peaks", &PeaksOf, py::arg("count") = 5, py::arg("low") = 0.0, py::arg("high") = py::none(),
                 "The highest peaks in a band, highest first, with their Q.");
    spectrum.def(
        "motion",
        [](const Spectrum& self, double cutoff, double low,
           std::optional<double> high) -> std::optional<MotionResult> {
            const auto motion = MotionOf(self.lines, BandOf(self, low, high), cutoff);
            if (!motion) return std::nullopt;
            return MotionResult::Of(motion->fromHz, motion->acceleration, motion->velocity,
                                    motion->displacement);
        },
        py::arg("cutoff") = 0.0, py::arg("low") = 0.0, py::arg("high") = py::none(),
        "The motion behind densities of an acceleration: rms in m/s2, m/s and m of the lines from a cut-off "
        "on.");
    spectrum.def(
        "lines_near",
        [](const Spectrum& self, const ArrayLike& frequencies) {
            return ArrayOf(
                LinesNear(NumbersOf(frequencies, "frequencies"), self.lines.spacingHz, CountOf(self)));
        },
        py::arg("frequencies"), "The lines nearest to frequencies, Hz.");
    spectrum.def(
        "profile",
        [](const Spectrum& self) {
            if (self.lines.kind != LineKind::kDensity) Refuse("a profile is made of densities");
            return Profile{ProfileOfLines(self.shown, self.lines.spacingHz), self.signalUnit};
        },
        "Of densities: the lines above 0 as the breakpoints of a profile.");
    spectrum.def(
        "compare",
        [](const Spectrum& self, const Profile& profile, double low, std::optional<double> high,
           std::optional<std::vector<double>> edges, const std::string& judge, double allowed) {
            return Compare(self, profile, {low, high, std::move(edges), judge, allowed});
        },
        py::arg("profile"), py::arg("low") = 0.0, py::arg("high") = py::none(), py::arg("edges") = py::none(),
        py::arg("judge") = "lines", py::arg("allowed") = 0.0,
        R"(Of densities: how they compare with a profile, and whether they keep within its limits.

profile:   in a unit that the densities convert to
low, high: the part that is compared, Hz
edges:     of bands whose means are compared; the breakpoints by default
judge:     whether "lines" or the means of the "bands" decide
allowed:   percent of them that may be out of tolerance

Differences are 10 lg(measured/profile). A line counts where its whole cell lies within the profile.)");
    spectrum.def("__len__", &CountOf);
    spectrum.def("__repr__", [](const Spectrum& self) {
        return "<kvx.Spectrum '" + self.name + "': " + KindOf(self) + " in " +
               Quote(NameOf(self.lines.unit)) + ", " + Count(CountOf(self), "line") + " every " +
               FormatNumber(self.lines.spacingHz) + " Hz>";
    });
    spectrum.def(
        "__eq__",
        [](const Spectrum& self, const py::object& other) {
            if (!py::isinstance<Spectrum>(other)) return false;
            const auto& that = py::cast<const Spectrum&>(other);
            const LineSpectrum& a = self.lines;
            const LineSpectrum& b = that.lines;
            return std::tie(a.kind, a.spacingHz, a.blocks, a.noiseBandwidth, a.real, a.imaginary, self.name,
                            self.reference) == std::tie(b.kind, b.spacingHz, b.blocks, b.noiseBandwidth,
                                                        b.real, b.imaginary, that.name, that.reference) &&
                   py::cast(a.unit).equal(py::cast(b.unit)) &&
                   py::cast(self.signalUnit).equal(py::cast(that.signalUnit));
        },
        py::arg("other"));
    spectrum.def(py::pickle(
        [](const Spectrum& self) {
            const LineSpectrum& lines = self.lines;
            return py::make_tuple(static_cast<int>(lines.kind), lines.unit, lines.spacingHz, lines.blocks,
                                  lines.noiseBandwidth, ArrayOf(lines.real), ArrayOf(lines.imaginary),
                                  self.signalUnit, self.name, self.reference);
        },
        [](const py::tuple& s) {
            const auto kind = s[0].cast<std::size_t>();
            if (kind >= kKinds.size()) Refuse("this is no spectrum");
            return std::make_shared<Spectrum>(
                LineSpectrum{kKinds[kind].kind, s[1].cast<CUnitCtrl>(), s[2].cast<double>(),
                             s[3].cast<std::int64_t>(), s[4].cast<double>(), NumbersOf(s[5], "values"),
                             NumbersOf(s[6], "values")},
                s[7].cast<CUnitCtrl>(), s[8].cast<std::string>(), s[9].cast<std::string>());
        }));
}

void BindTransfer(py::module_& module) {
    py::class_<Transfer, TransferPointer> transfer(
        module, "Transfer", "The transfer function between two channels of a recording, with its coherence.");
    transfer.def_property_readonly(
        "name", [](const Transfer& self) { return self.transfer->name; }, "Of the response.");
    transfer.def_property_readonly(
        "reference", [](const Transfer& self) { return self.transfer->reference; },
        "Name of the channel that excites.");
    transfer.def_property_readonly(
        "unit", [](const Transfer& self) { return self.transfer->lines.unit; },
        "The response's over the reference's.");
    transfer.def_readonly("transfer", &Transfer::transfer,
                          "H1, complex: averaged cross power over the reference's power.");
    transfer.def_readonly("coherence", &Transfer::coherence, "From 0 to 1.");
    transfer.def_property_readonly(
        "largest", [](const Transfer& self) { return ResultOf(self.largest); },
        "The line of the largest magnitude in the band.");
    transfer.def(
        "at",
        [](const Transfer& self, const ArrayLike& frequencies) {
            std::vector<TransferLineResult> lines;
            for (const std::int64_t line : LinesNear(NumbersOf(frequencies, "frequencies"),
                                                     self.transfer->lines.spacingHz, CountOf(*self.transfer)))
                lines.push_back(ResultOf(TransferLineAt(self.transfer->lines, self.coherence->lines, line)));
            return lines;
        },
        py::arg("frequencies"), "The lines nearest to frequencies, Hz.");
    transfer.def("__repr__", [](const Transfer& self) {
        return "<kvx.Transfer '" + self.transfer->name + "' over '" + self.transfer->reference + "' in " +
               Quote(NameOf(self.transfer->lines.unit)) + ">";
    });
    transfer.def(py::pickle(
        [](const Transfer& self) {
            const TransferLine& l = self.largest;
            return py::make_tuple(
                self.transfer, self.coherence,
                py::make_tuple(l.hz, l.real, l.imaginary, l.magnitude, l.phaseDegrees, l.coherence));
        },
        [](const py::tuple& s) {
            const py::tuple l = s[2];
            return std::make_shared<Transfer>(
                Transfer{s[0].cast<SpectrumPointer>(),
                         s[1].cast<SpectrumPointer>(),
                         {l[0].cast<double>(), l[1].cast<double>(), l[2].cast<double>(), l[3].cast<double>(),
                          l[4].cast<double>(), l[5].cast<double>()}});
        }));
}

}  // namespace

Spectrum::Spectrum(LineSpectrum of, const CUnitCtrl& unit, std::string channel, std::string referenceName)
    : lines(std::move(of)), signalUnit(unit), name(std::move(channel)), reference(std::move(referenceName)) {
    shown = lines.real;
    ToShown(lines.unit, shown, false);
    if (!IsComplex()) return;
    std::vector<double> imaginary = lines.imaginary;
    ToShown(lines.unit, imaginary, false);
    if (imaginary.size() != shown.size()) Refuse("a line lacks a part");
    for (std::size_t k = 0; k < shown.size(); ++k) shownComplex.emplace_back(shown[k], imaginary[k]);
}

std::vector<SpectrumPointer> SpectraFrom(std::vector<RecordSpectra> records) {
    std::vector<SpectrumPointer> spectra;
    for (RecordSpectra& record : records) {
        for (ChannelSpectrum& channel : record.channels)
            spectra.push_back(std::make_shared<Spectrum>(std::move(channel.lines), channel.channel.unit,
                                                         ToUtf8(channel.channel.name)));
    }
    return spectra;
}

std::vector<TransferPointer> TransfersFrom(RecordingTransfers transfers) {
    std::vector<TransferPointer> all;
    const std::string reference = ToUtf8(transfers.reference.channels.front().name);
    for (std::vector<ChannelTransfer>& record : transfers.records) {
        for (ChannelTransfer& each : record) {
            const std::string name = ToUtf8(each.channel.name);
            all.push_back(std::make_shared<Transfer>(Transfer{
                std::make_shared<Spectrum>(std::move(each.transfer), each.channel.unit, name, reference),
                std::make_shared<Spectrum>(std::move(each.coherence), CUnitCtrl(), name, reference),
                each.largest}));
        }
    }
    return all;
}

DataFileContent ContentOf(const std::vector<SpectrumPointer>& spectra) {
    DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, L""), {}};
    const auto isAlike = [](const Spectrum& a, const Spectrum& b) {
        return a.lines.kind == b.lines.kind && a.lines.spacingHz == b.lines.spacingHz &&
               a.lines.real.size() == b.lines.real.size() && a.reference == b.reference &&
               std::ranges::equal(UnitParts(a.lines.unit), UnitParts(b.lines.unit));
    };
    for (std::size_t first = 0; first < spectra.size();) {
        std::vector<LineSpectrum> lines;
        CStringArray names;
        std::size_t next = first;
        for (; next < spectra.size() && isAlike(*spectra[first], *spectra[next]); ++next) {
            lines.push_back(spectra[next]->lines);
            names.push_back(FromUtf8Replacing(spectra[next]->name));
        }
        content.records.push_back(SpectrumRecord(lines, names, FromUtf8Replacing(spectra[first]->reference)));
        first = next;
    }
    return content;
}

std::vector<SpectrumPointer> SpectraAmong(const std::vector<py::object>& objects) {
    std::vector<SpectrumPointer> spectra;
    std::vector<SpectrumPointer> coherences;
    for (const py::object& object : objects) {
        if (py::isinstance<Spectrum>(object)) {
            spectra.push_back(py::cast<SpectrumPointer>(object));
        } else if (py::isinstance<Transfer>(object)) {
            const auto transfer = py::cast<TransferPointer>(object);
            spectra.push_back(transfer->transfer);
            coherences.push_back(transfer->coherence);
        } else {
            return {};
        }
    }
    spectra.insert(spectra.end(), coherences.begin(), coherences.end());
    return spectra;
}

void BindLines(py::module_& module) {
    BindSpectrum(module);
    BindTransfer(module);
}

}  // namespace kvx::python
