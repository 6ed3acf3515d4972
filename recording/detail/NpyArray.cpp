// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/NpyArray.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <span>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/ByteOrder.h>

namespace kvx {
namespace {

constexpr std::string_view kMark = "\x93NUMPY";
/// Bytes of a header; each value of it takes some fifty times as many once it is parsed.
constexpr std::uint64_t kMostHeader = std::uint64_t{1} << 18;
constexpr std::uint64_t kMostText = std::uint64_t{1} << 20;

[[noreturn]] void FailHeader() {
    throw Error(ErrorKind::kDamaged, "the header of an array is none that NumPy writes");
}

/// A value of the header: a text, a number, a truth value, or a list of such values.
struct Literal {
    enum class Kind { text, number, truth, list };

    Kind kind = Kind::list;
    std::string text = {};     ///< also "True" and "False"
    std::uint64_t number = 0;  ///< 0 or more
    std::vector<Literal> items = {};
    std::vector<std::pair<std::string, Literal>> members = {};  ///< of a dictionary
};

class LiteralParser {
public:
    explicit LiteralParser(std::string_view text) : text_(text) {}

    Literal Parse(int depth = 0) {
        constexpr int kMostDepth = 8;
        if (depth > kMostDepth) FailHeader();
        const char first = Peek();
        Literal literal;
        if (first == '\'' || first == '"') {
            literal.kind = Literal::Kind::text;
            const std::size_t end = text_.find(first, 1);
            if (end == text_.npos) FailHeader();
            literal.text = text_.substr(1, end - 1);
            text_.remove_prefix(end + 1);
        } else if (first == '(' || first == '[' || first == '{') {
            const char last = first == '(' ? ')' : first == '[' ? ']' : '}';
            text_.remove_prefix(1);
            while (Peek() != last) {
                Literal item = Parse(depth + 1);
                if (first == '{') {
                    Take(':');
                    literal.members.emplace_back(item.text, Parse(depth + 1));
                } else {
                    literal.items.push_back(std::move(item));
                }
                if (Peek() != last) Take(',');
            }
            Take(last);
        } else if (first == 'T' || first == 'F') {
            literal.kind = Literal::Kind::truth;
            literal.text = first == 'T' ? "True" : "False";
            if (!text_.starts_with(literal.text)) FailHeader();
            text_.remove_prefix(literal.text.size());
        } else {
            literal.kind = Literal::Kind::number;
            const auto [end, error] =
                std::from_chars(text_.data(), text_.data() + text_.size(), literal.number);
            if (error != std::errc()) FailHeader();
            text_.remove_prefix(static_cast<std::size_t>(end - text_.data()));
            if (text_.starts_with('L')) text_.remove_prefix(1);  // as Python 2 ends a long one
        }
        return literal;
    }

private:
    char Peek() {
        const std::size_t at = text_.find_first_not_of(" \t\r\n");
        if (at == text_.npos) FailHeader();
        text_.remove_prefix(at);
        return text_.front();
    }
    void Take(char expected) {
        if (Peek() != expected) FailHeader();
        text_.remove_prefix(1);
    }

    std::string_view text_;
};

/// What one element, or one field of it, is.
struct Element {
    char letter = 'V';
    std::uint64_t bytes = 0;
    bool isBig = false;
};

Element ElementOf(const std::string& text) {
    Element element;
    std::string_view rest = text;
    if (!rest.empty() && std::string_view("<>=|").find(rest.front()) != rest.npos) {
        element.isBig = rest.front() == '>' || (rest.front() == '=' && kIsBigHost);
        rest.remove_prefix(1);
    }
    if (rest.empty()) FailHeader();
    element.letter = rest.front();
    rest.remove_prefix(1);
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), element.bytes);
    if (element.letter == 'O') {
        element.bytes = 8;  // of which nothing is read
    } else if (error != std::errc() || element.bytes > kMostText) {
        FailHeader();
    }
    if (element.letter == 'U') element.bytes *= 4;
    return element;
}

std::optional<NumberType> NumberOf(const Element& element) {
    using enum NumberType::Kind;
    const std::uint64_t bytes = element.letter == 'c' ? element.bytes / 2 : element.bytes;
    const bool isPower = bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8;
    if (!isPower || element.bytes % bytes != 0) return std::nullopt;
    const auto type = [&](NumberType::Kind kind) {
        return NumberType{kind, static_cast<std::size_t>(bytes), element.isBig};
    };
    switch (element.letter) {
        case 'i':
            return type(signedInteger);
        case 'u':
        case 'b':
            return type(unsignedInteger);
        case 'f':
        case 'c':
            return bytes > 1 ? std::optional(type(floating)) : std::nullopt;
        default:
            return std::nullopt;
    }
}

std::string WhyLeftOut(char letter) {
    switch (letter) {
        case 'O':
            return "it holds objects of Python";
        case 'M':
        case 'm':
            return "it holds dates";
        case 'V':
            return "it holds records within records";
        default:
            return "it holds numbers of an unusual size";
    }
}

Variable::Texts TextsOf(const ArrayBytes& bytes, std::uint64_t start, const Element& element,
                        std::uint64_t count) {
    std::vector<std::byte> raw(static_cast<std::size_t>(element.bytes * count));
    const std::unique_ptr<ByteCursor> cursor = bytes.open();
    cursor->Skip(start);
    cursor->Read(raw);
    Variable::Texts texts;
    for (std::size_t i = 0; i < count; ++i) {
        const std::span item = std::span(raw).subspan(i * static_cast<std::size_t>(element.bytes),
                                                      static_cast<std::size_t>(element.bytes));
        std::wstring& text = texts.emplace_back();
        if (element.letter == 'S') {
            text = FromUtf8Replacing({reinterpret_cast<const char*>(item.data()), item.size()});
        } else {
            std::vector<double> codes(item.size() / 4);
            ToDoubles({NumberType::Kind::unsignedInteger, 4, element.isBig}, item.data(), 4, codes);
            for (const double code : codes) {
                const bool isLetter = code < 0xD800 || (code > 0xDFFF && code <= 0x10FFFF);
                text += static_cast<wchar_t>(isLetter ? code : 0xFFFD);
            }
        }
        text.resize(text.find_last_not_of(L'\0') + 1);
    }
    return texts;
}

/// Where the elements of an array lie.
struct Layout {
    std::shared_ptr<const ArrayBytes> bytes;
    std::uint64_t start;
    std::uint64_t step;  ///< bytes from one element to the next
    std::vector<std::uint64_t> shape;
    bool isByRows;
};

Variable MakeVariable(std::wstring name, const Layout& layout, const Element& element) {
    Variable variable{std::move(name)};
    const ArrayShape shape = ShapeOf(layout.shape);
    const std::optional<NumberType> type = NumberOf(element);
    if (!shape.leftOut.empty()) {
        variable.value = Variable::LeftOut{shape.leftOut};
    } else if (type) {
        const std::array<std::uint64_t, 2> steps = StepsOf(shape, layout.step, layout.isByRows);
        StoredArray array{layout.bytes, shape.counts, {{*type, layout.start, steps}}};
        if (element.letter == 'c') array.parts.push_back({*type, layout.start + type->bytes, steps});
        variable.value = std::move(array);
    } else if (element.letter == 'U' || element.letter == 'S') {
        const std::uint64_t count = shape.counts[0] * shape.counts[1];
        variable.value = Variable::LeftOut{"it holds long texts"};
        const bool isShort = BytesOf({count}, std::max<std::uint64_t>(element.bytes, 32)) <= kMostText;
        if (isShort && layout.step == element.bytes)
            variable.value = TextsOf(*layout.bytes, layout.start, element, count);
    } else {
        variable.value = Variable::LeftOut{WhyLeftOut(element.letter)};
    }
    return variable;
}

/// A field of records, or an element that is no record.
struct Field {
    std::string name = {};
    Element element = {};
    bool isArray = false;  ///< whether it holds several elements, `count` of them
    std::uint64_t count = 1;
    std::uint64_t offset = 0;
};

/// What an array is made of: fields one behind the other.
struct Record {
    std::vector<Field> fields = {};
    std::uint64_t bytes = 0;
};

Record RecordOf(const Literal& description) {
    Record record;
    if (description.kind == Literal::Kind::text) {
        record.fields.push_back({{}, ElementOf(description.text)});
        record.bytes = record.fields.front().element.bytes;
        return record;
    }
    for (const Literal& item : description.items) {
        if (item.items.size() < 2) FailHeader();
        const Literal& name = item.items[0];
        if (item.items[1].kind != Literal::Kind::text)
            throw Error(ErrorKind::kUnsupported, "its records hold records");
        // A field with a title has a pair of texts in the place of its name.
        Field field{name.items.empty() ? name.text : name.items.back().text, ElementOf(item.items[1].text)};
        field.offset = record.bytes;
        if (item.items.size() > 2) {
            const Literal& shape = item.items[2];
            field.isArray = true;
            if (shape.kind == Literal::Kind::number) field.count = shape.number;
            for (const Literal& count : shape.items) field.count = BytesOf({field.count}, count.number);
        }
        const std::uint64_t bytes = BytesOf({field.count}, field.element.bytes);
        if (bytes > kMostText) throw Error(ErrorKind::kUnsupported, "its records are too long");
        record.bytes += bytes;
        record.fields.push_back(std::move(field));
    }
    if (record.bytes == 0) FailHeader();
    return record;
}

/// The variable of a field, of records that begin where the layout says.
Variable MakeField(const Field& field, Layout layout) {
    layout.start += field.offset;
    Variable variable = MakeVariable(FromUtf8Replacing(field.name), layout, field.element);
    auto* const array = std::get_if<StoredArray>(&variable.value);
    if (!field.isArray || array == nullptr) return variable;
    if (array->counts[1] > 1 || field.count == 0) {
        variable.value = Variable::LeftOut{"its records hold arrays"};
        return variable;
    }
    array->counts[1] = field.count;
    array->areRowsSamples = true;
    for (StoredArray::Part& part : array->parts) part.steps[1] = field.element.bytes;
    return variable;
}

}  // namespace

NpyArray ReadNpyArray(const std::shared_ptr<const ArrayBytes>& bytes, std::uint64_t size,
                      const std::wstring& name) {
    const std::unique_ptr<ByteCursor> cursor = bytes->open();
    std::array<std::byte, 12> front = {};
    cursor->Read(std::span(front).first(10));
    const std::string_view mark(reinterpret_cast<const char*>(front.data()), kMark.size());
    const int version = std::to_integer<int>(front[6]);
    if (mark != kMark) throw Error(ErrorKind::kDamaged, "it is no array of NumPy");
    if (version < 1 || version > 3) {
        throw Error(ErrorKind::kUnsupported,
                    "its header is of version " + std::to_string(version) + ", which is not known");
    }
    if (version > 1) cursor->Read(std::span(front).last(2));
    const std::size_t lengthBytes = version > 1 ? 4 : 2;
    const std::uint64_t headerBytes = LoadWhole(std::span(front).subspan(8, lengthBytes));
    const std::uint64_t start = 8 + lengthBytes + headerBytes;
    if (start > size) throw Error(ErrorKind::kDamaged, "it is cut short");
    if (headerBytes > kMostHeader) FailHeader();
    std::string header(static_cast<std::size_t>(headerBytes), '\0');
    cursor->Read(std::as_writable_bytes(std::span(header)));

    const Literal whole = LiteralParser(header).Parse();
    const auto member = [&](std::string_view key) -> const Literal& {
        const auto at = std::ranges::find(whole.members, key,
                                          [](const auto& each) -> const std::string& { return each.first; });
        if (at == whole.members.end()) FailHeader();
        return at->second;
    };
    const Literal& description = member("descr");
    const Literal& order = member("fortran_order");
    const Literal& shape = member("shape");
    if (order.kind != Literal::Kind::truth || shape.kind != Literal::Kind::list) FailHeader();
    const Record record = RecordOf(description);
    Layout layout{bytes, start, record.bytes, {}, order.text == "False"};
    for (const Literal& count : shape.items) {
        if (count.kind != Literal::Kind::number) FailHeader();
        layout.shape.push_back(count.number);
    }
    NpyArray array;
    array.hasFields = description.kind != Literal::Kind::text;
    const std::uint64_t needed = BytesOf(layout.shape, layout.step);
    const auto holds = [&](char letter) {
        return std::ranges::any_of(record.fields, [&](const Field& f) { return f.element.letter == letter; });
    };
    // Objects lie there in a form of Python, of any length.
    array.end = holds('O') ? size : start + needed;
    if (!holds('O') && needed > size - start) {
        throw Error(ErrorKind::kDamaged, "it is cut short: its numbers need " + std::to_string(needed) +
                                             " bytes and there are " + std::to_string(size - start));
    }
    for (const Field& field : record.fields) {
        if (!array.hasFields) {
            array.variables.push_back(MakeVariable(name, layout, field.element));
        } else if (holds('O')) {
            array.variables.push_back({FromUtf8Replacing(field.name), Variable::LeftOut{WhyLeftOut('O')}});
        } else if (!field.name.empty()) {  // one without fills a gap
            array.variables.push_back(MakeField(field, layout));
        }
    }
    return array;
}

std::string NpyHeader(std::string_view type, const std::vector<std::uint64_t>& shape) {
    constexpr std::size_t kAligned = 64;
    std::string text = "{'descr': '" + std::string(type) + "', 'fortran_order': False, 'shape': (";
    for (std::size_t d = 0; d < shape.size(); ++d)
        text += (d > 0 ? ", " : "") + std::to_string(shape[d]) + (shape.size() == 1 ? "," : "");
    text += "), }";
    const std::size_t front = kMark.size() + 4;
    text.append(kAligned - 1 - (front + text.size()) % kAligned, ' ');
    text += '\n';
    std::string header(kMark);
    header += {'\1', '\0', static_cast<char>(text.size() & 0xFF), static_cast<char>(text.size() >> 8)};
    return header + text;
}

}  // namespace kvx
