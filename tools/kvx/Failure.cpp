// SPDX-License-Identifier: MIT
#include "Failure.h"

#include <new>
#include <optional>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>

namespace kvx::tool {
namespace {

constexpr std::size_t kQuotedBytes = 60;

std::size_t SequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xE0) return 2;
    return lead < 0xF0 ? 3 : 4;
}

}  // namespace

std::string Explain(const CFileException& error) {
    return Error(error).Sentence();
}

std::string Quote(std::string_view text) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string quoted = "'";
    for (std::size_t at = 0; at < text.size();) {
        if (at >= kQuotedBytes) {
            quoted += "...";
            break;
        }
        const auto lead = static_cast<unsigned char>(text[at]);
        const std::string_view sequence = text.substr(at, SequenceLength(lead));
        const bool printable = lead >= 0x20 && lead != 0x7F && FromUtf8(sequence).has_value();
        if (printable) {
            quoted += sequence;
            at += sequence.size();
        } else {
            quoted += {'\\', 'x', kHex[lead >> 4], kHex[lead & 15]};
            ++at;
        }
    }
    return quoted + "'";
}

std::string Quote(std::wstring_view text) {
    return Quote(ToUtf8(text));
}

void ThrowFailure(std::string_view verb, std::string_view path) {
    const auto fail = [&](const std::string& why) {
        throw Failure("cannot " + std::string(verb) + " " + Quote(path) + ": " + why);
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
