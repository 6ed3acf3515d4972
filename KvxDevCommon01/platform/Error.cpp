// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Error.h>

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>
#include <utility>

#include <KvxDevCommon01/platform/detail/Causes.h>

namespace kvx {
namespace {

struct KindRow {
    ErrorKind kind;
    const char* sentence;
};

// clang-format off
constexpr std::array kKinds = {
    KindRow{ErrorKind::kBadValue,    "the value cannot be used"},
    KindRow{ErrorKind::kUnknownName, "the name is not known"},
    KindRow{ErrorKind::kNotFound,    "it does not exist"},
    KindRow{ErrorKind::kDenied,      "access is denied"},
    KindRow{ErrorKind::kDamaged,     "it is damaged"},
    KindRow{ErrorKind::kUnsupported, "it is not supported"},
    KindRow{ErrorKind::kNoMemory,    "there is not enough memory"},
    KindRow{ErrorKind::kDiskFull,    "the disk is full"},
    KindRow{ErrorKind::kHost,        "the host refuses it"},
    KindRow{ErrorKind::kInterrupted, "it was interrupted"},
};
// clang-format on

constexpr bool IsByKind() {
    for (std::size_t i = 0; i < kKinds.size(); ++i) {
        if (kKinds[i].kind != static_cast<ErrorKind>(i)) return false;
    }
    return true;
}
static_assert(IsByKind());

std::string WithPlace(const std::string& sentence, const ErrorPlace& place) {
    std::string text = place.path.empty() ? "" : place.path + ": ";
    const std::string inside = place.Inside();
    return text + (inside.empty() ? "" : inside + ": ") + sentence;
}

}  // namespace

std::string ErrorPlace::Inside() const {
    std::string text;
    const auto add = [&text](const char* name, const std::optional<std::int64_t>& number) {
        if (!number) return;
        text += (text.empty() ? "" : ", ") + std::string(name) + " " + std::to_string(*number);
    };
    add("record", record);
    add("channel", channel);
    add("sample", sample);
    add("line", line);
    add("column", column);
    add("byte", byte);
    return text;
}

Error::Error(ErrorKind kind, std::string sentence, ErrorPlace place) {
    if (sentence.empty()) sentence = kKinds[static_cast<std::size_t>(kind)].sentence;
    std::string what = WithPlace(sentence, place);
    content_ = std::make_shared<const Content>(
        Content{kind, std::move(sentence), std::move(place), std::move(what)});
}

Error::Error(const CFileException& error)
    : Error(KindOfCause(error.m_cause), SentenceOf(error), {.path = ToUtf8(error.m_strFileName)}) {}

Error Error::Current() {
    try {
        throw;
    } catch (const Error& error) {
        return error;
    } catch (const CFileException& error) {
        return Error(error);
    } catch (const std::bad_alloc&) {
        return Error(ErrorKind::kNoMemory);
    } catch (const std::length_error&) {  // a size beyond what any allocation could give
        return Error(ErrorKind::kNoMemory);
    } catch (const std::exception& error) {
        return Error(ErrorKind::kHost, error.what());
    }
}

Error Error::At(const ErrorPlace& place) const {
    ErrorPlace merged = Place();
    if (merged.path.empty()) merged.path = place.path;
    for (const auto member : {&ErrorPlace::record, &ErrorPlace::channel, &ErrorPlace::sample,
                              &ErrorPlace::line, &ErrorPlace::column, &ErrorPlace::byte}) {
        if (!(merged.*member)) merged.*member = place.*member;
    }
    return Error(Kind(), Sentence(), std::move(merged));
}

}  // namespace kvx
