# SPDX-License-Identifier: MIT
"""Vibration signals: recordings of any format, units, spectra, filters, random tests and graphs.

Arguments have the names and the order of SciPy where a function is the same. Numbers are in the unit that
stands beside them; only views of records are in the standard unit of their dimension, as the library keeps
them. docs/python.md is the guide.
"""

import copyreg as _copyreg
import types as _types

from .errors import (BadValueError, DamagedError, DeniedError, DiskFullError, Error, HostError, NoMemoryError,
                     NotFoundError, StoppedError, UnknownNameError, UnsupportedError)
from . import _kvx
from ._kvx import *  # noqa: F401,F403
from ._kvx import __version__, _remade  # noqa: F401
from .results import (Calibration, ComparedBand, ComparedLine, Comparison, Figures, FileInfo, FormatInfo, Levels,
                      Limit, Motion, Peak, PulseFigures, RandomWave, Resampled, RunFigures, Sensitivity, ShockPulse,
                      SineFit, TransferLine, WindowFigures)


def _reduce_function(function):
    """Functions of the extension pickle by their names, as all others do, so that they can be sent to workers."""
    if getattr(function, "__module__", None) == __name__ and globals().get(function.__name__) is function:
        return function.__name__
    return function.__reduce_ex__(4)


def _reduce_method(method):
    for each in vars(_kvx).values():
        if isinstance(each, type) and vars(each).get(method.__name__) is method:
            return getattr, (each, method.__name__)
    raise TypeError(f"cannot pickle {method!r}")


_copyreg.pickle(_types.BuiltinFunctionType, _reduce_function)
_copyreg.pickle(type(Recording.psd), _reduce_method)  # noqa: F405
