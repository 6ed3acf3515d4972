// SPDX-License-Identifier: MIT
#include "Failure.h"

#include <algorithm>
#include <new>
#include <optional>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>

#include "Format.h"

namespace kvx::tool {
namespace {

/// Texts up to this length are quoted whole; of longer ones so much of the beginning and the end.
constexpr std::size_t kQuotedBytes = 60;
constexpr std::size_t kQuotedHead = 26;
constexpr std::size_t kQuotedTail = 30;
/// The name of a file is quoted whole up to this length, the longest that hosts have.
constexpr std::size_t kLongestName = 255;

/// The start of the character that the byte at `at` belongs to.
std::size_t CharacterStart(std::string_view text, std::size_t at) {
    constexpr std::size_t kMostBytes = 4;
    for (std::size_t back = 0; back < std::min(at + 1, kMostBytes); ++back)
        if ((static_cast<unsigned char>(text[at - back]) & 0xC0) != 0x80) return at - back;
    return at;
}

}  // namespace

std::string Explain(const CFileException& error) {
    return Error(error).Sentence();
}

std::string Quote(std::string_view text) {
    if (text.size() <= kQuotedBytes) return "'" + Printable(text) + "'";
    const std::size_t slash = text.rfind('/');
    const std::size_t name = slash == text.npos ? 0 : text.size() - slash;
    const std::size_t kept = std::max(kQuotedTail, name <= kLongestName + 1 ? name : 0);
    if (kQuotedHead + kept >= text.size()) return "'" + Printable(text) + "'";
    const std::size_t head = CharacterStart(text, kQuotedHead);
    const std::size_t tail = CharacterStart(text, text.size() - kept);
    return "'" + Printable(text.substr(0, head)) + "..." + Printable(text.substr(tail)) + "'";
}

std::string Quote(std::wstring_view text) {
    return Quote(ToUtf8(text));
}

void ThrowFailure(std::string_view verb, std::string_view path) {
    const auto fail = [&](const std::string& why) {
        const std::string stream = verb == "write" ? "to standard output" : "standard input";
        throw Failure("cannot " + std::string(verb) + " " + (path == "-" ? stream : Quote(path)) + ": " +
                      why);
    };
    try {
        throw;
    } catch (const Reason& reason) {
        fail(reason.what());
    } catch (const CFileException& error) {
        fail(Explain(error));
    } catch (const std::bad_alloc&) {
        fail("there is not enough memory");
    } catch (const std::length_error&) {
        fail("there is not enough memory");
    }
    throw;
}

std::wstring WidePath(std::string_view path) {
    if (std::optional<std::wstring> wide = FromUtf8(path)) return *std::move(wide);
    throw Reason("the name is not valid UTF-8");
}

}  // namespace kvx::tool
