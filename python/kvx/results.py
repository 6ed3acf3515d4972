# SPDX-License-Identifier: MIT
"""Results that are a few numbers: named tuples, which unpack, compare and pickle."""

from typing import Dict, List, NamedTuple, Optional, Tuple

import numpy

from ._kvx import Unit


class Figures(NamedTuple):
    """Figures of the samples that hold a value; all 0 when none does."""

    count: int  #: of those samples
    missing: int  #: samples that hold no value
    mean: float
    rms: float
    min: float
    max: float
    peak: float  #: the largest magnitude
    std: float  #: standard deviation, about the mean
    skewness: float  #: NaN without deviation
    kurtosis: float  #: 3 of Gaussian noise; NaN without deviation
    min_at: int  #: the first sample of that value, counted from 0
    max_at: int
    peak_at: int

    @property
    def crest(self) -> float:
        """Peak over rms; NaN of zeros."""
        return self.peak / self.rms if self.rms else float("nan")


class SineFit(NamedTuple):
    """offset + amplitude cos(2 pi frequency t + phase), t = 0 at the first sample, and what it leaves."""

    frequency: float  #: Hz
    amplitude: float  #: 0 or more, in the unit of the samples
    phase: float  #: radians, from -pi to pi
    offset: float
    residual_rms: float  #: rms of the samples without the sine and the offset


class Peak(NamedTuple):
    """A peak of a spectrum."""

    frequency: float  #: Hz
    level: float  #: in the unit of the lines
    q: Optional[float]  #: None where a side does not fall to half the power


class Motion(NamedTuple):
    """The motion behind the density of an acceleration: overall rms values of the lines from a frequency on."""

    from_frequency: float  #: Hz
    acceleration: float  #: m/s2
    velocity: float  #: m/s
    displacement: float  #: m


class TransferLine(NamedTuple):
    """A line of a transfer function, in its unit."""

    frequency: float  #: Hz
    value: complex
    magnitude: float
    phase: float  #: degrees
    coherence: float  #: from 0 to 1


class Sensitivity(NamedTuple):
    """What a sensor gives for what it measures: 100 mV for one g."""

    value: float  #: in `electrical`, for one of `physical`; below 0 for an inverting sensor
    electrical: Unit
    physical: Unit


class Calibration(NamedTuple):
    """What a calibrator's tone in a channel tells of its sensor."""

    name: str
    unit: Unit  #: of the channel
    tone: SineFit  #: in that unit
    sensitivity: Optional[Sensitivity]  #: of an electrical signal
    gain: Optional[float]  #: of a signal in the unit of the level: by what it is too large
    is_clean: bool  #: whether the rest is below a tenth of the tone


class Limit(NamedTuple):
    """How far a density may be from its profile, from one frequency to another."""

    upper: float  #: dB, 0 or more; infinite where there is none
    lower: float  #: dB, 0 or less
    low: float  #: Hz
    high: float


class ComparedBand(NamedTuple):
    """A band of a density beside its profile."""

    low: float  #: Hz
    high: float
    target: float  #: mean of the profile
    measured: float  #: mean of the lines
    difference: float  #: dB
    verdict: str  #: "within", "out of tolerance" or "beyond abort"


class ComparedLine(NamedTuple):
    """A line of a density beside its profile."""

    frequency: float  #: Hz
    target: float
    measured: float
    difference: float  #: dB
    verdict: str


class Comparison(NamedTuple):
    """A density beside its profile."""

    verdict: str  #: "within", "out of tolerance" or "beyond abort"
    target_rms: float  #: of the part that was compared
    measured_rms: float
    difference: float  #: dB, of the powers behind both
    lines: int  #: compared
    out_of_tolerance: int  #: of the lines, or of the bands where these decide
    beyond_abort: int  #: of them
    highest: ComparedLine  #: the line farthest above the profile
    lowest: ComparedLine
    bands: List[ComparedBand]


class WindowFigures(NamedTuple):
    """What a window does to a sine; frequencies in lines, levels in dB to a sine that stands on a line."""

    mean: float
    noise_bandwidth: float
    scallop: float  #: the level furthest from 0 with which a sine up to half a line away is read
    width_3db: float
    width_6db: float
    side_lobe: Optional[float]  #: the highest


class RandomWave(NamedTuple):
    """A random signal and its figures."""

    samples: numpy.ndarray
    rate: float  #: Hz
    rms: float
    peak: float  #: largest magnitude of a sample
    next_seed: int  #: goes on where this signal ends


class Levels(NamedTuple):
    """What a level meter tells, in the square of the unit: 10 log10(x/x0**2) are levels in dB."""

    seconds: float
    mean_square: float  #: over the whole signal, frequency-weighted: Leq
    exposure: float  #: mean_square times seconds: LE
    peak_square: float  #: Lpeak
    max_square: float  #: of the time-weighted mean square: Lmax
    min_square: Optional[float]  #: None of a signal that is over before the average has settled
    exceeded: List[Optional[float]]  #: in those percentages of the time: L10, L50, L90


class Resampled(NamedTuple):
    """A signal at another rate: sample i stands at start + i/rate."""

    samples: numpy.ndarray
    rate: float  #: Hz
    start: float  #: s
    delay: float  #: s; what the samples show is so much earlier when the delay was kept
    band: float  #: Hz; where the band ends that passes


class ShockPulse(NamedTuple):
    """The pulse of a shock test. Velocities are in the unit of the peak times s, displacements times s2."""

    samples: numpy.ndarray
    start: int  #: the sample at which the pulse itself starts
    velocity_change: float  #: of the pulse itself, in closed form
    before: float  #: s; how long the compensation lasts before the pulse
    after: float  #: s; and after it
    velocity: Tuple[float, float]  #: lowest and highest, of a table that follows the samples from rest
    displacement: Tuple[float, float]


class PulseFigures(NamedTuple):
    """What a measured pulse is. Times are from the first sample on, s."""

    peak: float  #: with its sign
    time: float  #: where it stands
    start: float  #: where the pulse rises above the threshold
    duration: float
    is_whole: bool  #: whether the signal is below the threshold on both sides
    velocity_change: float  #: the integral between the two times that follow
    velocity_from: float
    velocity_to: float


class RunFigures(NamedTuple):
    """What a run of a recording holds."""

    first: float  #: where the first sample stands, in s or Hz
    last: float
    channels: List[Figures]  #: in their units; of complex channels those of the magnitudes


class FormatInfo(NamedTuple):
    """A format of recordings."""

    name: str  #: "a WAV file"
    ends: Tuple[str, ...]  #: of file names, in small letters with the dot
    kind: str  #: "data", "sound", "text" or "binary"
    is_written: bool
    read: str  #: what is read of it
    written: str  #: what is written
    lost: str  #: what a recording has and the format cannot hold


class FileInfo(NamedTuple):
    """What a file is, by its first bytes."""

    name: str
    is_read: bool


# The names that the extension makes results by.
ALL: Dict[str, type] = {name: each for name, each in globals().items() if getattr(each, "__module__", None) == __name__}
