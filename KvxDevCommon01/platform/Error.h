// SPDX-License-Identifier: MIT
//
// kvx::Error: the one exception of what `namespace kvx` adds to the given interface. It says what kind of
// thing went wrong, in one English sentence, and where, as far as that is known. A function that looks
// something up returns a std::optional instead; the given classes keep their results and CFileException. A
// container of the standard library may still end in std::bad_alloc.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/FileException.h>

namespace kvx {

/// What a program decides by. The numbers are part of the binary interface.
enum class ErrorKind {
    kBadValue = 0,     ///< an argument outside its range, or one that does not fit the others
    kUnknownName = 1,  ///< a unit, channel, window or file kind that there is not
    kNotFound = 2,     ///< a file or folder that does not exist
    kDenied = 3,       ///< the host does not permit it
    kDamaged = 4,      ///< a file or text that contradicts its own format, or ends too early
    kUnsupported = 5,  ///< a valid file or wish that is outside what is supported
    kNoMemory = 6,     ///< an allocation failed
    kDiskFull = 7,     ///< the target has no room left
    kHost = 8,         ///< another refusal of the host or a device
    kInterrupted = 9,  ///< the work was stopped on request
};

/// Where something went wrong; what is not known or does not apply is left out. All but the byte count
/// from 1.
struct ErrorPlace {
    std::string path = {};  ///< UTF-8
    std::optional<std::int64_t> record = std::nullopt;
    std::optional<std::int64_t> channel = std::nullopt;
    std::optional<std::int64_t> sample = std::nullopt;
    std::optional<std::int64_t> line = std::nullopt;
    std::optional<std::int64_t> column = std::nullopt;
    std::optional<std::int64_t> byte = std::nullopt;  ///< from the start of the file, from 0

    /// The place within the file: "record 2, channel 1", "line 3, column 2"; empty when nothing is known.
    KVX_API std::string Inside() const;
};

class KVX_API Error : public std::exception {
public:
    /// `sentence` begins with a small letter and ends without a full stop; without one the kind's own is
    /// taken.
    explicit Error(ErrorKind kind, std::string sentence = {}, ErrorPlace place = {});
    /// The kind and sentence of a file operation that failed; the path is the exception's.
    explicit Error(const CFileException& error);

    /// What is being handled in a catch block: an Error as it is, a CFileException, a failed allocation, and
    /// any other standard exception as a refusal of the host.
    static Error Current();

    /// The same error at a place that is known better: what this one knows already stays.
    Error At(const ErrorPlace& place) const;

    ErrorKind Kind() const { return content_->kind; }
    const std::string& Sentence() const { return content_->sentence; }
    const ErrorPlace& Place() const { return content_->place; }

    /// "PATH: record 2: SENTENCE", UTF-8.
    const char* what() const noexcept override { return content_->what.c_str(); }

private:
    struct Content {
        ErrorKind kind;
        std::string sentence;
        ErrorPlace place;
        std::string what;
    };
    // Shared, so that a copy cannot fail while an exception is in flight.
    std::shared_ptr<const Content> content_;
};

}  // namespace kvx
