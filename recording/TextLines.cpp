// SPDX-License-Identifier: MIT
#include <KvxRecording01/TextLines.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/detail/HostErrors.h>

namespace kvx {
namespace {

constexpr std::size_t kLongestLine = std::size_t{16} << 20;

struct Encoding {
    std::string_view name;
    unsigned int codePage;
};

/// The first name of a code page is the one that it is told by.
constexpr std::array kEncodings = {
    Encoding{"auto", 0},
    Encoding{"utf-8", kUtf8CodePage},
    Encoding{"utf-16le", kUtf16LittleEndianCodePage},
    Encoding{"utf-16be", kUtf16BigEndianCodePage},
    Encoding{"windows-1252", 1252},
    Encoding{"latin-1", 1252},
    Encoding{"windows-1251", 1251},
    Encoding{"shift-jis", 932},
    Encoding{"cp932", 932},
    Encoding{"gbk", 936},
};

bool IsUtf16(unsigned int codePage) {
    return codePage == kUtf16LittleEndianCodePage || codePage == kUtf16BigEndianCodePage;
}

struct ByteOrderMark {
    std::string_view bytes;
    unsigned int codePage;
};

constexpr std::array kByteOrderMarks = {
    ByteOrderMark{"\xEF\xBB\xBF", kUtf8CodePage},
    ByteOrderMark{"\xFF\xFE", kUtf16LittleEndianCodePage},
    ByteOrderMark{"\xFE\xFF", kUtf16BigEndianCodePage},
};

/// The mark that a text begins with; an empty one where there is none.
ByteOrderMark FindMark(std::string_view begin) {
    for (const ByteOrderMark& mark : kByteOrderMarks) {
        if (begin.starts_with(mark.bytes)) return mark;
    }
    return {"", 0};
}

/// Throws, for what begins like something else than a text, what it is.
void RequireText(std::string_view begin, const char* soundRefusal) {
    const FileContent content = RecognizeContent(begin.substr(0, kContentBytes));
    const bool isSound = IsSound(content.format);
    if (!isSound && content.format != Format::none) return;
    throw Error(ErrorKind::kUnsupported,
                "it is " + std::string(content.name) + ", which is not " + (isSound ? soundRefusal : "read"));
}

constexpr const char* kNoText = "it is no text and of none of the other formats that are read";

/// A text that cannot be opened twice, kept in memory.
class KeptText : public ByteStream {
public:
    explicit KeptText(std::shared_ptr<const std::string> text) : text_(std::move(text)) {}
    std::size_t Read(void* data, std::size_t size) override {
        const std::size_t count = text_->copy(static_cast<char*>(data), size, position_);
        position_ += count;
        return count;
    }
    void Write(const void*, std::size_t) override { throw CFileException(CFileException::accessDenied); }
    std::uint64_t Remaining() const override { return text_->size() - position_; }

private:
    std::shared_ptr<const std::string> text_;
    std::size_t position_ = 0;
};

/// The bytes of a pipe. Gives up early on what is no text, which may be endless.
std::string ReadPipe(ByteStream& pipe, unsigned int codePage) {
    constexpr std::size_t kPiece = 1 << 20;
    std::string bytes;
    for (std::size_t got = kPiece; got == kPiece;) {
        const std::size_t begin = bytes.size();
        bytes.resize(begin + kPiece);
        got = pipe.Read(bytes.data() + begin, kPiece);
        bytes.resize(begin + got);
        if (begin == 0) {
            RequireText(bytes, "read from a pipe");
            if (codePage == 0) codePage = FindMark(bytes).codePage;
        }
        if (!IsUtf16(codePage) && bytes.find('\0', begin) != std::string::npos)
            throw Error(ErrorKind::kUnsupported, kNoText);
    }
    return bytes;
}

}  // namespace

/// A text without its byte-order mark, piece by piece; UTF-16 becomes UTF-8.
class LineReader::Decoder {
public:
    Decoder(std::unique_ptr<ByteStream> stream, unsigned int codePage, const std::string& encodingName)
        : stream_(std::move(stream)), size_(stream_->Remaining()), codePage_(codePage) {
        std::string begin;
        AppendBytes(&begin);
        if (begin.empty()) throw Error(ErrorKind::kDamaged, "the file is empty");
        RequireText(begin, "a text");
        const ByteOrderMark mark = FindMark(begin);
        if (mark.codePage != 0) {
            if (codePage_ != 0 && codePage_ != mark.codePage) {
                throw Error(ErrorKind::kBadValue,
                            "its byte-order mark says " + std::string(EncodingName(mark.codePage)) +
                                ", not " + encodingName + " " + std::string(EncodingName(codePage_)));
            }
            codePage_ = mark.codePage;
        }
        bytes_ = begin.substr(mark.bytes.size());
    }

    unsigned int CodePage() const { return IsUtf16(codePage_) ? kUtf8CodePage : codePage_; }

    /// Appends the next piece; whether there was one.
    bool Append(std::string* text) {
        const std::size_t begin = text->size();
        std::string bytes = std::exchange(bytes_, {});
        bool isMore = !bytes.empty();
        if (IsUtf16(codePage_)) {
            if (!isMore) isMore = AppendBytes(&bytes);
            AppendUtf16(bytes, text);
        } else if (isMore) {
            *text += bytes;
        } else {
            isMore = AppendBytes(text);
        }
        if (text->find('\0', begin) != std::string::npos) {
            text->resize(begin);
            throw Error(ErrorKind::kUnsupported, kNoText);
        }
        return isMore;
    }

    /// Bytes read so far, and bytes in all.
    std::uint64_t Position() const { return position_; }
    std::uint64_t Size() const { return size_; }

private:
    /// Appends the next bytes as they are; whether there were any.
    bool AppendBytes(std::string* text) {
        constexpr std::uint64_t kPiece = 1 << 18;
        constexpr std::uint64_t kLeast = 1 << 10;  // also where a file has grown since it was opened
        const auto piece = static_cast<std::size_t>(std::clamp(stream_->Remaining(), kLeast, kPiece));
        const std::size_t begin = text->size();
        text->resize(begin + piece);
        const std::size_t count = stream_->Read(text->data() + begin, piece);
        text->resize(begin + count);
        position_ += count;
        return count > 0;
    }

    void AppendUtf16(std::string_view bytes, std::string* text) {
        if (bytes.empty() && hasHalf_)
            throw Error(ErrorKind::kDamaged, "its UTF-16 text ends in the middle of a character");
        for (const char byte : bytes) {
            hasHalf_ = !hasHalf_;
            if (hasHalf_) {
                half_ = static_cast<unsigned char>(byte);
                continue;
            }
            const auto second = static_cast<unsigned char>(byte);
            const int unit = codePage_ == kUtf16BigEndianCodePage ? half_ << 8 | second : second << 8 | half_;
            units_ += static_cast<char16_t>(unit);
        }
        // The second half of a pair may be in the next piece.
        std::u16string next;
        if (!bytes.empty() && !units_.empty() && units_.back() >= 0xD800 && units_.back() < 0xDC00) {
            next = units_.substr(units_.size() - 1);
            units_.pop_back();
        }
        *text += ToUtf8(FromUtf16(units_));
        units_ = std::move(next);
    }

    std::unique_ptr<ByteStream> stream_;
    std::uint64_t size_;
    std::uint64_t position_ = 0;
    unsigned int codePage_;  ///< 0 where it is not known
    std::string bytes_;      ///< read, but not appended yet
    std::u16string units_;   ///< decoded, but not appended yet
    unsigned char half_ = 0;
    bool hasHalf_ = false;
};

std::vector<std::string> EncodingNames() {
    std::vector<std::string> names;
    for (const Encoding& encoding : kEncodings) names.emplace_back(encoding.name);
    return names;
}

unsigned int CodePageOf(std::string_view encoding) {
    const auto row = std::ranges::find(kEncodings, encoding, &Encoding::name);
    return row != kEncodings.end() ? row->codePage : 0;
}

std::string_view EncodingName(unsigned int codePage) {
    const auto row = std::ranges::find(kEncodings, codePage, &Encoding::codePage);
    return row != kEncodings.end() ? row->name : "another encoding";
}

namespace {

std::unique_ptr<ByteStream> RequireStream(std::unique_ptr<ByteStream> stream) {
    if (stream == nullptr) throw Error(ErrorKind::kBadValue, "there is no text to read");
    return stream;
}

}  // namespace

LineReader::LineReader(std::unique_ptr<ByteStream> stream, unsigned int codePage,
                       const std::string& encodingName)
    : decoder_(std::make_unique<Decoder>(RequireStream(std::move(stream)), codePage, encodingName)) {
    while (text_.find('\n') == std::string::npos && text_.size() < kLongestLine) {
        if (!decoder_->Append(&text_)) break;
    }
    if (text_.find('\n') == std::string::npos) end_ = '\r';
}

LineReader::~LineReader() = default;

std::optional<std::string_view> LineReader::Next() {
    begin_ = next_;
    std::size_t searched = begin_;
    std::size_t end = text_.find(end_, searched);
    while (end == std::string::npos) {
        text_.erase(0, begin_);
        begin_ = 0;
        searched = text_.size();
        if (!Append()) break;
        end = text_.find(end_, searched);
    }
    if (begin_ == text_.size()) {
        next_ = begin_;
        return std::nullopt;
    }
    end = std::min(end, text_.size());
    next_ = std::min(end + 1, text_.size());
    ++number_;
    std::string_view line = std::string_view(text_).substr(begin_, end - begin_);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

/// Appends the next piece to the lines that began; whether there was one.
bool LineReader::Append() {
    if (failure_ != nullptr) std::rethrow_exception(failure_);
    if (text_.size() > kLongestLine) {
        throw Error(ErrorKind::kUnsupported,
                    "line " + std::to_string(number_ + 1) + " is longer than a table's can be");
    }
    return decoder_->Append(&text_);
}

std::string_view LineReader::NextLines(std::size_t size) {
    size = std::min(size, kLongestLine);
    text_.erase(0, next_);
    begin_ = next_ = 0;
    std::size_t end = text_.rfind(end_);
    while (text_.size() < size || end == std::string::npos) {
        const std::size_t searched = text_.size();
        try {
            if (!Append()) break;
        } catch (...) {
            // The lines in front of what is wrong come first.
            if (end == std::string::npos) throw;
            failure_ = std::current_exception();
            break;
        }
        const std::size_t found = std::string_view(text_).substr(searched).rfind(end_);
        if (found != std::string::npos) end = searched + found;
    }
    next_ = std::min(end, text_.size());
    if (next_ < text_.size()) ++next_;
    return std::string_view(text_).substr(0, next_);
}

void LineReader::StepBack() {
    next_ = begin_;
    --number_;
}

unsigned int LineReader::CodePage() const {
    return decoder_->CodePage();
}

std::uint64_t LineReader::Position() const {
    return decoder_->Position();
}

std::uint64_t LineReader::Size() const {
    return decoder_->Size();
}

OpenText OpenTextFile(const std::string& path, unsigned int codePage) {
    return WithErrors([&]() -> OpenText {
        InputFile file(WidePath(path));
        if (file.Remaining() < std::numeric_limits<std::uint64_t>::max()) {
            return [path] { return std::make_unique<InputFile>(WidePath(path)); };
        }
        const auto text = std::make_shared<const std::string>(ReadPipe(file, codePage));
        return [text] { return std::make_unique<KeptText>(text); };
    });
}

}  // namespace kvx
