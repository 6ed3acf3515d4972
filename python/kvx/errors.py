# SPDX-License-Identifier: MIT
"""The exceptions of kvx: one class per kind of failure, each also the exception of Python that fits it."""

import errno as _errno


class Error(Exception):
    """What the library refuses: the kind, one sentence, and the place as far as it is known.

    kind:     "bad value", "unknown name", "not found" ... the name of the class says the same
    sentence: what is wrong; it begins with a small letter and does not repeat the place
    place:    a dict with some of path, record, channel, sample, line, column (from 1) and byte (from 0)
    """

    kind = "error"
    _number = 0

    def __init__(self, sentence="", place=None, text=None):
        self.sentence = sentence
        self.place = dict(place or {})
        self.text = text or sentence
        if isinstance(self, OSError):
            super().__init__(self._number, sentence, self.place.get("path"))
        else:
            super().__init__(sentence)

    def __str__(self):
        return self.text

    def __reduce__(self):
        return type(self), (self.sentence, self.place, self.text)


class BadValueError(Error, ValueError):
    """An argument outside its range, or one that does not fit the others."""

    kind = "bad value"


class UnknownNameError(Error, ValueError):
    """A unit, channel, window or file kind that there is not."""

    kind = "unknown name"


class NotFoundError(Error, FileNotFoundError):
    """A file or folder that does not exist."""

    kind = "not found"
    _number = _errno.ENOENT


class DeniedError(Error, PermissionError):
    """The host does not permit it."""

    kind = "denied"
    _number = _errno.EACCES


class DamagedError(Error, ValueError):
    """A file or text that contradicts its own format, or ends too early."""

    kind = "damaged"


class UnsupportedError(Error, ValueError):
    """A valid file or wish that is outside what is supported."""

    kind = "unsupported"


class NoMemoryError(Error, MemoryError):
    """An allocation failed."""

    kind = "no memory"


class DiskFullError(Error, OSError):
    """The target has no room left."""

    kind = "disk full"
    _number = _errno.ENOSPC


class HostError(Error, OSError):
    """Another refusal of the host or a device."""

    kind = "host"
    _number = _errno.EIO


class StoppedError(Error, InterruptedError):
    """The work was stopped on request."""

    kind = "interrupted"
    _number = _errno.EINTR


# In the order of kvx::ErrorKind.
_CLASSES = (BadValueError, UnknownNameError, NotFoundError, DeniedError, DamagedError, UnsupportedError,
            NoMemoryError, DiskFullError, HostError, StoppedError)
