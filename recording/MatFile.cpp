// SPDX-License-Identifier: MIT
#include <KvxRecording01/MatFile.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/ByteCursor.h>
#include <KvxRecording01/detail/ByteOrder.h>
#include <KvxRecording01/detail/Hdf5Objects.h>
#include <KvxRecording01/detail/HeaderText.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/NumberBlocks.h>
#include <KvxRecording01/detail/VariableWriter.h>
#include <KvxRecording01/detail/Variables.h>

namespace kvx {
namespace {

constexpr std::uint64_t kMostStructures = 4096;  ///< elements of an array of structures that is taken
constexpr std::uint64_t kMostText = std::uint64_t{1} << 20;  ///< bytes of a text that is taken

[[noreturn]] void FailDamaged(const std::string& sentence) {
    throw Error(ErrorKind::kDamaged, sentence);
}

/// Bytes that are read from their start on, with the place where the reading stands.
class Bytes {
public:
    Bytes(std::shared_ptr<const ArrayBytes> source, bool isBig)
        : source_(std::move(source)), cursor_(source_->open()), most_(cursor_->Most()), isBig_(isBig) {}

    const std::shared_ptr<const ArrayBytes>& Source() const { return source_; }
    std::uint64_t Position() const { return position_; }
    std::uint64_t Most() const { return most_; }
    bool IsBig() const { return isBig_; }

    std::vector<std::byte> Take(std::uint64_t count) {
        RequireRoom(count);
        std::vector<std::byte> bytes(static_cast<std::size_t>(count));
        cursor_->Read(bytes);
        position_ += count;
        return bytes;
    }
    void SkipTo(std::uint64_t position) {
        RequireRoom(position - position_);
        cursor_->Skip(position - position_);
        position_ = position;
    }
    std::uint32_t Word() { return WordAt(Take(4), 0); }
    std::uint32_t WordAt(std::span<const std::byte> bytes, std::size_t at) const {
        return LoadNumber<std::uint32_t>(bytes.data() + at, isBig_);
    }
    void RequireRoom(std::uint64_t count) const {
        if (count > most_ - position_) FailDamaged("it is cut short");
    }

private:
    std::shared_ptr<const ArrayBytes> source_;
    std::unique_ptr<ByteCursor> cursor_;
    std::uint64_t most_;
    bool isBig_;
    std::uint64_t position_ = 0;
};

std::wstring LettersOf(std::span<const double> codes) {
    std::u16string units;
    for (const double code : codes)
        units += static_cast<char16_t>(code >= 0.0 && code <= 65535.0 ? code : 0xFFFD);
    return FromUtf16(units);
}

/// The rows of a matrix of letters, which stand column by column, without the blanks behind them.
Variable::Texts RowsOf(std::wstring_view letters, std::uint64_t rows) {
    Variable::Texts texts;
    if (rows <= 1) return {std::wstring(letters)};
    for (std::uint64_t r = 0; r < std::min<std::uint64_t>(rows, letters.size()); ++r) {
        std::wstring& text = texts.emplace_back();
        for (std::uint64_t at = r; at < letters.size(); at += rows) text += letters[at];
        text.resize(text.find_last_not_of(L' ') + 1);
    }
    return texts;
}

// ---- level 5: elements, each a type, a count of bytes and that many bytes ----

enum ElementType : std::uint32_t { kMatrix = 14, kCompressed = 15, kUtf8 = 16, kUtf16 = 17, kUtf32 = 18 };

enum MatrixClass : std::uint32_t {
    kCell = 1,
    kStructure = 2,
    kObject = 3,
    kLetters = 4,
    kSparse = 5,
    kFirstNumeric = 6,
    kLastNumeric = 15,
    kFunction = 16,
    kOpaque = 17,
};

std::optional<NumberType> NumbersOf(std::uint32_t type, bool isBig) {
    using enum NumberType::Kind;
    switch (type) {
        case 1:
            return NumberType{signedInteger, 1, isBig};
        case 2:
            return NumberType{unsignedInteger, 1, isBig};
        case 3:
            return NumberType{signedInteger, 2, isBig};
        case 4:
            return NumberType{unsignedInteger, 2, isBig};
        case 5:
            return NumberType{signedInteger, 4, isBig};
        case 6:
            return NumberType{unsignedInteger, 4, isBig};
        case 7:
            return NumberType{floating, 4, isBig};
        case 9:
            return NumberType{floating, 8, isBig};
        case 12:
            return NumberType{signedInteger, 8, isBig};
        case 13:
            return NumberType{unsignedInteger, 8, isBig};
        case kUtf8:
            return NumberType{unsignedInteger, 1, isBig};
        case kUtf16:
            return NumberType{unsignedInteger, 2, isBig};
        case kUtf32:
            return NumberType{unsignedInteger, 4, isBig};
        default:
            return std::nullopt;
    }
}

/// The front of an element, and where it ends with what fills it up to a multiple of eight bytes.
struct Element {
    std::uint32_t type;
    std::uint64_t bytes;
    std::uint64_t begin;
    std::uint64_t end;
};

/// With `isWhole` all of it must be there. The sound library states eight bytes too many for the last
/// variable, so that those of a file may end with it; what is inside of them must be there.
Element TakeElement(Bytes* bytes, bool isWhole = true) {
    const std::uint32_t first = bytes->Word();
    if (const std::uint32_t count = first >> 16; count != 0) {
        if (count > 4) FailDamaged("a short element has more than four bytes");
        return {first & 0xFFFF, count, bytes->Position(), bytes->Position() + 4};
    }
    const std::uint32_t count = bytes->Word();
    const std::uint64_t begin = bytes->Position();
    const std::uint64_t room = bytes->Most() - begin;
    if (isWhole || count > room + 8) bytes->RequireRoom(count);
    const std::uint64_t filled = (std::uint64_t{count} + 7) & ~std::uint64_t{7};
    return {first, std::min<std::uint64_t>(count, room), begin, std::min(begin + filled, bytes->Most())};
}

/// The whole numbers of a small element, as those of dimensions.
std::vector<double> TakeNumbers(Bytes* bytes, std::uint64_t most) {
    const Element element = TakeElement(bytes);
    const std::optional<NumberType> type = NumbersOf(element.type, bytes->IsBig());
    const bool isWhole = type && type->kind != NumberType::Kind::floating && type->bytes <= 4;
    if (!isWhole || element.bytes > most * type->bytes) FailDamaged("the head of a variable is none");
    const std::vector<std::byte> raw = bytes->Take(element.bytes);
    std::vector<double> numbers(raw.size() / type->bytes);
    ToDoubles(*type, raw.data(), type->bytes, numbers);
    bytes->SkipTo(element.end);
    return numbers;
}

/// Bytes as a text, up to the first 0.
std::string TextOf(std::span<const std::byte> bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return std::string(text.substr(0, text.find('\0')));
}

constexpr std::uint64_t kMostName = 255;  ///< bytes of a name; MATLAB gives 63

std::string TakeName(Bytes* bytes) {
    const Element element = TakeElement(bytes);
    if (element.bytes > kMostName) FailDamaged("the head of a variable is none");
    const std::vector<std::byte> raw = bytes->Take(element.bytes);
    bytes->SkipTo(element.end);
    return TextOf(raw);
}

/// What stands in front of the values of a variable.
struct MatrixHead {
    std::uint32_t kind = 0;
    bool isComplex = false;
    std::vector<std::uint64_t> dimensions = {};
    std::string name = {};
    std::uint64_t end = 0;
};

MatrixHead TakeHead(Bytes* bytes, const Element& matrix) {
    constexpr std::uint32_t kComplex = 0x800;
    MatrixHead head;
    head.end = matrix.end;
    if (matrix.bytes == 0) {  // an empty cell or field
        head.kind = kFirstNumeric;
        head.dimensions = {0, 0};
        return head;
    }
    const std::vector<double> flags = TakeNumbers(bytes, 2);
    if (flags.size() != 2 || flags[0] < 0.0) FailDamaged("the head of a variable is none");
    const auto word = static_cast<std::uint32_t>(flags[0]);
    head.kind = word & 0xFF;
    head.isComplex = (word & kComplex) != 0;
    if (head.kind != kOpaque) {
        for (const double count : TakeNumbers(bytes, 64)) {
            if (count < 0.0) FailDamaged("a variable has a dimension below 0");
            head.dimensions.push_back(static_cast<std::uint64_t>(count));
        }
        if (head.dimensions.size() < 2) FailDamaged("a variable has fewer than two dimensions");
    }
    head.name = TakeName(bytes);
    return head;
}

Variable::Value TakeNumeric(Bytes* bytes, const MatrixHead& head) {
    const ArrayShape shape = ShapeOf(head.dimensions);
    if (!shape.leftOut.empty()) return Variable::LeftOut{shape.leftOut};
    StoredArray array{bytes->Source(), shape.counts};
    for (int part = 0; part < (head.isComplex ? 2 : 1); ++part) {
        const Element data = TakeElement(bytes);
        const std::optional<NumberType> type = NumbersOf(data.type, bytes->IsBig());
        if (!type || BytesOf(head.dimensions, type->bytes) != data.bytes)
            FailDamaged("the variable " + Quote(head.name) + " has not the bytes that its dimensions need");
        array.parts.push_back({*type, data.begin, StepsOf(shape, type->bytes, false)});
        if (part == 0 && head.isComplex) bytes->SkipTo(data.end);
    }
    return array;
}

Variable::Value TakeLetters(Bytes* bytes, const MatrixHead& head) {
    const std::uint64_t count = BytesOf(head.dimensions, 1);
    if (count == 0) return Variable::Texts{L""};
    const Element data = TakeElement(bytes);
    if (data.bytes > kMostText) return Variable::LeftOut{"it is a long text"};
    const std::optional<NumberType> type = NumbersOf(data.type, bytes->IsBig());
    if (!type || type->kind == NumberType::Kind::floating) FailDamaged("a text has no letters");
    const std::vector<std::byte> raw = bytes->Take(data.bytes);
    std::wstring letters;
    if (data.type == kUtf8) {
        letters = FromUtf8Replacing({reinterpret_cast<const char*>(raw.data()), raw.size()});
    } else {
        std::vector<double> codes(raw.size() / type->bytes);
        ToDoubles(*type, raw.data(), type->bytes, codes);
        letters = LettersOf(codes);
    }
    return RowsOf(letters, head.dimensions.front());
}

/// A cell array of texts, or one of something else, which is left out.
Variable::Value TakeCells(Bytes* bytes, const MatrixHead& head) {
    constexpr std::uint64_t kTagBytes = 8;
    const std::uint64_t count = BytesOf(head.dimensions, 1);
    bytes->RequireRoom(BytesOf(head.dimensions, kTagBytes));
    Variable::Texts texts;
    std::uint64_t letters = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        const Element cell = TakeElement(bytes);
        if (cell.type != kMatrix) FailDamaged("a cell is no variable");
        const MatrixHead inner = TakeHead(bytes, cell);
        const bool isEmpty = !inner.dimensions.empty() && BytesOf(inner.dimensions, 1) == 0;
        if (inner.kind != kLetters && !isEmpty) return Variable::LeftOut{"it is a cell array"};
        const Variable::Value text =
            inner.kind == kLetters ? TakeLetters(bytes, inner) : Variable::Value(Variable::Texts{L""});
        if (!std::holds_alternative<Variable::Texts>(text)) return Variable::LeftOut{"it is a cell array"};
        const Variable::Texts& rows = std::get<Variable::Texts>(text);
        texts.push_back(rows.empty() ? L"" : rows.front());
        letters += texts.back().size() + 1;
        if (letters > kMostText) return Variable::LeftOut{"its texts are long"};
        bytes->SkipTo(cell.end);
    }
    return texts;
}

/// Why structures become nothing: there are none or too many, or they are within another one.
Variable::LeftOut StructureLeftOut(std::uint64_t count) {
    if (count == 0) return {"it is empty"};
    if (count > kMostStructures)
        return {"it is an array of more than " + std::to_string(kMostStructures) + " structures"};
    return {"it is a structure within another"};
}

/// Takes a variable, named `name`, and passes over what is left of it.
Variable TakeVariable(Bytes* bytes, const MatrixHead& head, const std::string& name) {
    Variable variable{FromUtf8Replacing(name)};
    switch (head.kind) {
        case kCell:
            variable.value = TakeCells(bytes, head);
            break;
        case kStructure:
            variable.value = StructureLeftOut(BytesOf(head.dimensions, 1));
            break;
        case kObject:
        case kOpaque:
            variable.value = Variable::LeftOut{"it is an object"};
            break;
        case kLetters:
            variable.value = TakeLetters(bytes, head);
            break;
        case kSparse:
            variable.value = Variable::LeftOut{"it is sparse"};
            break;
        case kFunction:
            variable.value = Variable::LeftOut{"it is a function"};
            break;
        default:
            if (head.kind < kFirstNumeric || head.kind > kLastNumeric)
                FailDamaged("the variable " + Quote(name) + " is of an unknown class");
            variable.value = TakeNumeric(bytes, head);
    }
    return variable;
}

/// The name of an element of an array of structures: "s", "s(2)".
std::wstring ElementName(const std::wstring& name, std::uint64_t index, std::uint64_t count) {
    return count == 1 ? name : name + L"(" + std::to_wstring(index + 1) + L")";
}

/// The fields of each element of an array of structures as variables of a scope of its own.
void TakeStructures(Bytes* bytes, const MatrixHead& head, std::uint64_t count, VariableStock* stock) {
    const std::vector<double> length = TakeNumbers(bytes, 1);
    const Element names = TakeElement(bytes);
    if (length.size() != 1 || !(length[0] >= 1.0) || names.bytes > kMostText)
        FailDamaged("the fields of a structure have no names");
    const std::vector<std::byte> raw = bytes->Take(names.bytes);
    bytes->SkipTo(names.end);
    const auto room = static_cast<std::size_t>(length[0]);
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::size_t scope = stock->AddScope(ElementName(FromUtf8Replacing(head.name), i, count));
        for (std::size_t at = 0; at + room <= raw.size(); at += room) {
            const std::string name = TextOf(std::span(raw).subspan(at, room));
            if (name.size() > kMostName) FailDamaged("the fields of a structure have no names");
            const Element field = TakeElement(bytes);
            if (field.type != kMatrix) FailDamaged("a field of a structure is no variable");
            stock->Add(scope, TakeVariable(bytes, TakeHead(bytes, field), name));
            const bool isLast = i + 1 == count && at + 2 * room > raw.size();
            if (!isLast) bytes->SkipTo(field.end);
        }
    }
}

void TakeMatrix(Bytes* bytes, const Element& matrix, VariableStock* stock) {
    const MatrixHead head = TakeHead(bytes, matrix);
    // What objects share lies in a variable without a name.
    if (head.name.empty()) return;
    const std::uint64_t count = BytesOf(head.dimensions, 1);
    if (head.kind == kStructure && count > 0 && count <= kMostStructures)
        TakeStructures(bytes, head, count, stock);
    else
        stock->Add(VariableStock::kOuter, TakeVariable(bytes, head, head.name));
}

VariableStock ReadLevel5(const ByteStretch& file, std::string_view header) {
    constexpr std::uint64_t kHeader = 128;
    const bool isBig = header.substr(126, 2) == "MI";
    if (!isBig && header.substr(126, 2) != "IM") FailDamaged("its header does not tell the order of bytes");
    VariableStock stock;
    Bytes elements(StretchBytes(file, Packing::stored), isBig);
    elements.SkipTo(kHeader);
    while (elements.Position() < file.Size()) {
        const std::uint64_t at = elements.Position();
        try {
            const Element element = TakeElement(&elements, false);
            const ByteStretch inside{file.stream, element.begin, element.begin + element.bytes};
            if (element.type == kCompressed) {
                Bytes inflated(StretchBytes(inside, Packing::zlib), isBig);
                const Element matrix = TakeElement(&inflated);
                if (matrix.type == kMatrix) TakeMatrix(&inflated, matrix, &stock);
                elements.SkipTo(inside.end);  // nothing fills it up
            } else {
                if (element.type == kMatrix) {
                    Bytes stored(StretchBytes(inside, Packing::stored), isBig);
                    TakeMatrix(&stored, {kMatrix, element.bytes, 0, element.bytes}, &stock);
                } else if (!NumbersOf(element.type, isBig)) {
                    FailDamaged("there is no variable where one was expected");
                }
                elements.SkipTo(element.end);
            }
        } catch (const Error& error) {
            throw error.At({.byte = static_cast<std::int64_t>(at)});
        }
    }
    return stock;
}

// ---- level 7.3: objects of HDF5 ----

/// Whether an attribute says that there is nothing: its value does, not that it is there.
bool IsStatedEmpty(const Hdf5Object& object) {
    const auto stated = object.attributes.find("MATLAB_empty");
    return stated != object.attributes.end() && stated->second != "0";
}

Variable::Value TakeLetters(const Hdf5Object& object) {
    const std::uint64_t bytes = BytesOf(object.dimensions, object.elementBytes);
    if (bytes > kMostText) return Variable::LeftOut{"it is a long text"};
    if (object.bytes == nullptr || IsStatedEmpty(object)) return Variable::Texts{L""};
    if (object.parts.size() != 1 || object.elementBytes > 4)
        return Variable::LeftOut{"it is a text of another kind"};
    std::vector<std::byte> raw(static_cast<std::size_t>(bytes));
    object.bytes->open()->Read(raw);
    std::vector<double> codes(raw.size() / static_cast<std::size_t>(object.elementBytes));
    ToDoubles(object.parts.front().type, raw.data(), static_cast<std::size_t>(object.elementBytes), codes);
    return RowsOf(LettersOf(codes), object.dimensions.empty() ? 1 : object.dimensions.back());
}

/// The objects of a file, and the short texts of cells by their addresses: all empty cells are one object.
struct Level73 {
    Hdf5File file;
    std::map<std::uint64_t, std::wstring> cells = {};
};

/// The text of the cell that is the object at an address; no value for another kind of cell.
std::optional<std::wstring> CellAt(std::uint64_t address, Level73* level) {
    constexpr std::size_t kShort = 256;
    if (const auto known = level->cells.find(address); known != level->cells.end()) return known->second;
    const Hdf5Object object = level->file.Object(address);
    const auto kind = object.attributes.find("MATLAB_class");
    const bool isText = !object.isGroup && kind != object.attributes.end() && kind->second == "char";
    const Variable::Value value = isText ? TakeLetters(object) : Variable::LeftOut{};
    const auto* const texts = std::get_if<Variable::Texts>(&value);
    if (texts == nullptr) return std::nullopt;
    std::wstring text = texts->empty() ? std::wstring() : texts->front();
    if (text.size() <= kShort) level->cells.emplace(address, text);
    return text;
}

/// The addresses of an array of references; none where they are too many.
std::optional<std::vector<std::uint64_t>> AddressesOf(const Hdf5Object& object) {
    const std::uint64_t bytes = BytesOf(object.dimensions, object.elementBytes);
    if (object.bytes == nullptr || !object.isReference || bytes > kMostText) return std::nullopt;
    std::vector<std::byte> raw(static_cast<std::size_t>(bytes));
    object.bytes->open()->Read(raw);
    std::vector<std::uint64_t> addresses;
    for (std::size_t at = 0; at + 8 <= raw.size(); at += 8)
        addresses.push_back(LoadNumber<std::uint64_t>(&raw[at], false));
    return addresses;
}

/// A cell array of texts, which is one of addresses.
Variable::Value TakeCells(const Hdf5Object& object, Level73* level) {
    const auto addresses = AddressesOf(object);
    if (!addresses) return Variable::LeftOut{"it is a cell array"};
    Variable::Texts texts;
    std::uint64_t letters = 0;
    for (const std::uint64_t address : *addresses) {
        const std::optional<std::wstring> text = CellAt(address, level);
        if (!text) return Variable::LeftOut{"it is a cell array"};
        texts.push_back(*text);
        letters += texts.back().size() + 1;
        if (letters > kMostText) return Variable::LeftOut{"its texts are long"};
    }
    return texts;
}

Variable::Value TakeObject(const Hdf5Object& object, Level73* level) {
    constexpr std::string_view kNumeric[] = {"",      "double", "single", "logical", "int8",  "uint8",
                                             "int16", "uint16", "int32",  "uint32",  "int64", "uint64"};
    const auto found = object.attributes.find("MATLAB_class");
    const std::string kind = found == object.attributes.end() ? "" : found->second;
    if (object.attributes.contains("MATLAB_sparse")) return Variable::LeftOut{"it is sparse"};
    if (object.isGroup || kind == "struct")
        return Variable::LeftOut{object.isGroup ? "it is a structure within another" : "it is empty"};
    if (kind == "char") return TakeLetters(object);
    if (kind == "cell") return TakeCells(object, level);
    if (std::ranges::find(kNumeric, kind) == std::end(kNumeric)) return Variable::LeftOut{"it is an object"};
    if (IsStatedEmpty(object)) return Variable::LeftOut{"it is empty"};
    const ArrayShape shape = ShapeOf({object.dimensions.rbegin(), object.dimensions.rend()});
    if (!shape.leftOut.empty()) return Variable::LeftOut{shape.leftOut};
    if (object.parts.empty()) return Variable::LeftOut{"it holds no numbers"};
    StoredArray array{object.bytes, shape.counts};
    for (const Hdf5Object::Part& part : object.parts)
        array.parts.push_back({part.type, part.offset, StepsOf(shape, object.elementBytes, false)});
    return array;
}

/// The addresses of a field of an array of structures, which is an array of references; none for another
/// variable.
std::optional<std::vector<std::uint64_t>> ElementsOf(const Hdf5Object& object) {
    if (object.attributes.contains("MATLAB_class")) return std::nullopt;
    auto addresses = AddressesOf(object);
    if (addresses && addresses->size() > kMostStructures) addresses.reset();
    return addresses;
}

/// Takes the members of a group: of the file, or of a structure, each element of which becomes a scope.
void TakeGroup(const Hdf5Object& group, const std::optional<std::wstring>& structure, Level73* level,
               VariableStock* stock) {
    std::vector<std::size_t> scopes;  // of the file, or of the elements of the structure as they are found
    if (!structure) scopes = {VariableStock::kOuter};
    for (const auto& [name, address] : level->file.Members(group)) {
        if (name.starts_with('#')) continue;  // what cells and objects share
        Variable variable{FromUtf8Replacing(name)};
        try {
            const Hdf5Object object = level->file.Object(address);
            if (!structure && object.isGroup && !object.attributes.contains("MATLAB_sparse")) {
                TakeGroup(object, variable.name, level, stock);
                continue;
            }
            if (structure) {
                const auto elements = ElementsOf(object);
                const std::size_t count = elements ? elements->size() : 1;
                while (scopes.size() < count)
                    scopes.push_back(stock->AddScope(ElementName(*structure, scopes.size(), count)));
                for (std::size_t i = 0; elements && i < count; ++i)
                    stock->Add(scopes[i],
                               {variable.name, TakeObject(level->file.Object((*elements)[i]), level)});
                if (elements) continue;
            }
            variable.value = TakeObject(object, level);
        } catch (const Error& error) {
            if (error.Kind() != ErrorKind::kUnsupported) throw;
            variable.value = Variable::LeftOut{error.Sentence()};
        }
        if (scopes.empty()) scopes = {stock->AddScope(*structure)};
        stock->Add(scopes.front(), std::move(variable));
    }
}

VariableStock ReadLevel73(const ByteStretch& file) {
    constexpr std::uint64_t kUserBlock = 512;
    if (file.Size() < kUserBlock) FailDamaged("it is cut short");
    Level73 level{Hdf5File({file.stream, file.begin + kUserBlock, file.end})};
    VariableStock stock;
    TakeGroup(level.file.Object(level.file.Root()), std::nullopt, &level, &stock);
    return stock;
}

// ---- level 4: five words, a name and numbers, for each variable ----

constexpr std::size_t kLevel4Head = 20;

Variable::Value Level4Text(const Bytes& bytes, std::uint64_t begin, std::uint64_t size,
                           const NumberType& number, std::uint64_t rows) {
    if (size > kMostText) return Variable::LeftOut{"it is a long text"};
    Bytes text(bytes.Source(), bytes.IsBig());
    text.SkipTo(begin);
    const std::vector<std::byte> codes = text.Take(size);
    std::vector<double> letters(codes.size() / number.bytes);
    ToDoubles(number, codes.data(), number.bytes, letters);
    return RowsOf(LettersOf(letters), rows);
}

VariableStock ReadLevel4(const ByteStretch& file, bool isBig) {
    using enum NumberType::Kind;
    const NumberType types[] = {{floating, 8, isBig},        {floating, 4, isBig},
                                {signedInteger, 4, isBig},   {signedInteger, 2, isBig},
                                {unsignedInteger, 2, isBig}, {unsignedInteger, 1, isBig}};
    VariableStock stock;
    Bytes bytes(StretchBytes(file, Packing::stored), isBig);
    while (bytes.Position() < file.Size()) {
        const std::uint64_t at = bytes.Position();
        try {
            const std::uint32_t type = bytes.Word() - (isBig ? 1000 : 0);
            const std::vector<std::uint64_t> dimensions = {bytes.Word(), bytes.Word()};
            const bool isComplex = bytes.Word() != 0;
            const std::uint32_t nameBytes = bytes.Word();
            if (type / 10 >= std::size(types) || type % 10 > 2 || nameBytes > kMostName + 1)
                FailDamaged("there is no variable where one was expected");
            const std::string name = TextOf(bytes.Take(nameBytes));
            const NumberType& number = types[type / 10];
            const std::uint64_t size = BytesOf(dimensions, number.bytes);
            const std::uint64_t begin = bytes.Position();
            for (int part = 0; part < (isComplex ? 2 : 1); ++part) {
                bytes.RequireRoom(size);
                bytes.SkipTo(bytes.Position() + size);
            }
            const ArrayShape shape = ShapeOf(dimensions);
            Variable variable{FromUtf8Replacing(name)};
            if (type % 10 == 2) {
                variable.value = Variable::LeftOut{"it is sparse"};
            } else if (!shape.leftOut.empty()) {
                variable.value = Variable::LeftOut{shape.leftOut};
            } else if (type % 10 == 1) {
                variable.value = Level4Text(bytes, begin, size, number, shape.counts[0]);
            } else {
                StoredArray array{bytes.Source(), shape.counts};
                for (std::uint64_t part = 0; part < (isComplex ? 2 : 1); ++part)
                    array.parts.push_back({number, begin + part * size, StepsOf(shape, number.bytes, false)});
                variable.value = array;
            }
            stock.Add(VariableStock::kOuter, std::move(variable));
        } catch (const Error& error) {
            throw error.At({.byte = static_cast<std::int64_t>(at)});
        }
    }
    return stock;
}

/// Whether the header of a matrix of level 4 stands in front, in this order of bytes.
bool IsLevel4Head(std::string_view begin, bool isBig) {
    if (begin.size() < kLevel4Head) return false;
    const auto word = [&](std::size_t at) {
        return static_cast<std::uint32_t>(LoadWhole(begin.substr(at, 4), isBig));
    };
    const std::uint32_t type = word(0) - (isBig ? 1000 : 0);
    const std::uint32_t isComplex = word(12);
    const std::uint32_t nameBytes = word(16);
    if (type / 10 > 5 || type % 10 > 2 || isComplex > 1 || nameBytes < 2 || nameBytes > 64) return false;
    return begin.find('\0', kLevel4Head) == kLevel4Head + nameBytes - 1;
}

// ---- writing: level 5, not compressed ----

constexpr std::uint64_t kMostVariable = 0x7FFFFFFF;  ///< bytes; what is larger MATLAB does not load

void AddElement(FilePlan* plan, std::uint32_t type, std::string_view bytes) {
    const bool isShort = !bytes.empty() && bytes.size() <= 4;
    plan->AddNumber(type, isShort ? 2 : 4);
    plan->AddNumber(bytes.size(), isShort ? 2 : 4);
    plan->Add(bytes);
    plan->Fill(8);
}

/// A variable with what stands behind its head.
FilePlan Matrix(const std::string& name, std::uint32_t kind, std::uint64_t rows, std::uint64_t columns,
                const FilePlan& content) {
    constexpr std::uint32_t kName = 1, kDimensions = 5, kFlags = 6;
    FilePlan body;
    body.AddNumber(kFlags, 4);
    body.AddNumber(8, 4);
    body.AddNumber(kind, 8);
    body.AddNumber(kDimensions, 4);
    body.AddNumber(8, 4);
    body.AddNumber(rows, 4);
    body.AddNumber(columns, 4);
    AddElement(&body, kName, name);
    body.Append(content);
    if (body.Size() > kMostVariable) {
        throw Error(ErrorKind::kUnsupported, "a variable of a MATLAB file holds 2 GiB at most, and " +
                                                 Quote(name) + " takes " + std::to_string(body.Size()) +
                                                 " bytes; choose .npz");
    }
    FilePlan plan;
    plan.AddNumber(kMatrix, 4);
    plan.AddNumber(body.Size(), 4);
    plan.Append(body);
    return plan;
}

constexpr std::uint32_t kDoubles = 9;      ///< the type of an element
constexpr std::uint32_t kDoubleClass = 6;  ///< the class of a variable

FilePlan NumberMatrix(const std::string& name, double number) {
    FilePlan content;
    content.AddNumber(kDoubles, 4);
    content.AddNumber(sizeof(number), 4);
    content.AddDouble(number);
    return Matrix(name, kDoubleClass, 1, 1, content);
}

FilePlan TextMatrix(const std::string& name, const std::wstring& text) {
    constexpr std::uint32_t kUnsigned16 = 4;
    const std::u16string units = ToUtf16(text);
    FilePlan content;
    std::string bytes;
    for (const char16_t unit : units) bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    AddElement(&content, kUnsigned16, bytes);
    return Matrix(name, kLetters, units.empty() ? 0 : 1, units.size(), content);
}

FilePlan CellMatrix(const std::string& name, const std::vector<std::wstring>& texts) {
    FilePlan content;
    for (const std::wstring& text : texts) content.Append(TextMatrix({}, text));
    return Matrix(name, kCell, texts.size(), 1, content);
}

FilePlan SampleMatrix(const std::string& name, const WrittenVariable::Samples& samples, std::size_t run) {
    constexpr std::uint32_t kComplex = 0x800;
    FilePlan content;
    // Too large a count of bytes is refused with the variable.
    const std::uint64_t bytes = static_cast<std::uint64_t>(samples.count) * sizeof(double);
    content.AddNumber(kDoubles, 4);
    content.AddNumber(bytes, 4);
    content.AddSamples(samples, run, false);
    if (samples.isComplex) {
        content.AddNumber(kDoubles, 4);
        content.AddNumber(bytes, 4);
        content.AddImaginary();
    }
    return Matrix(name, kDoubleClass | (samples.isComplex ? kComplex : 0),
                  static_cast<std::uint64_t>(samples.count), 1, content);
}

FilePlan AnyMatrix(const std::string& name, const WrittenVariable& variable, std::size_t run) {
    if (const auto* const number = std::get_if<double>(&variable.value)) return NumberMatrix(name, *number);
    if (const auto* const text = std::get_if<std::wstring>(&variable.value)) return TextMatrix(name, *text);
    if (const auto* const texts = std::get_if<std::vector<std::wstring>>(&variable.value))
        return CellMatrix(name, *texts);
    return SampleMatrix(name, std::get<WrittenVariable::Samples>(variable.value), run);
}

FilePlan StructureMatrix(const std::string& name, const std::vector<WrittenVariable>& variables,
                         std::size_t run) {
    constexpr std::uint32_t kSigned8 = 1, kSigned32 = 5;
    constexpr std::size_t kFieldName = 64;
    FilePlan content;
    AddElement(&content, kSigned32, {"\x40\0\0\0", 4});
    std::string names;
    for (const WrittenVariable& variable : variables) {
        names += variable.name;
        names.resize((names.size() + kFieldName - 1) / kFieldName * kFieldName, '\0');
    }
    AddElement(&content, kSigned8, names);
    for (const WrittenVariable& variable : variables) content.Append(AnyMatrix({}, variable, run));
    return Matrix(name, kStructure, 1, 1, content);
}

class MatSignalWriter : public VariableWriter {
public:
    MatSignalWriter(const std::string& path, const std::vector<SignalRun>& runs,
                    const SignalFileOptions& options)
        : VariableWriter(path, runs) {
        // Without the time of day, equal samples make equal files.
        std::string header = "MATLAB 5.0 MAT-file, written by KvxDevCommon01";
        header.resize(116, ' ');
        header.resize(124, '\0');
        FilePlan plan;
        plan.Add(header);
        plan.Add({"\0\1IM", 4});
        for (const WrittenVariable& variable : VariablesOf(options.text, options.facts))
            plan.Append(AnyMatrix(variable.name, variable, 0));
        if (runs.size() == 1) {
            for (const WrittenVariable& variable : VariablesOf(runs.front(), false))
                plan.Append(AnyMatrix(variable.name, variable, 0));
        } else {
            for (std::size_t r = 0; r < runs.size(); ++r)
                plan.Append(StructureMatrix("run" + std::to_string(r + 1), VariablesOf(runs[r], true), r));
        }
        Begin(plan);
    }
};

}  // namespace

std::unique_ptr<SignalWriter> CreateMatSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options) {
    return WithErrors([&] { return std::make_unique<MatSignalWriter>(path, runs, options); });
}

bool IsMatLevel4(std::string_view begin) {
    return IsLevel4Head(begin, false) || IsLevel4Head(begin, true);
}

std::unique_ptr<RecordingReader> OpenMatFile(std::unique_ptr<ByteStream> stream) {
    constexpr std::size_t kHeader = 128;
    constexpr std::size_t kHeaderText = 116;
    const std::uint64_t size = stream->Remaining();
    const ByteStretch whole{std::shared_ptr<ByteStream>(std::move(stream)), 0, size};
    std::string header(std::min<std::uint64_t>(kHeader, whole.Size()), '\0');
    OpenBytes(whole, Packing::stored)->Read(std::as_writable_bytes(std::span(header)));
    VariableStock stock;
    RecordingInfo info;
    if (IsMatLevel4(header)) {
        stock = ReadLevel4(whole, !IsLevel4Head(header, false));
    } else {
        if (header.size() < kHeader) FailDamaged("it is cut short");
        stock = header.starts_with("MATLAB 7.3") ? ReadLevel73(whole) : ReadLevel5(whole, header);
        const std::string_view text(header.data(), kHeaderText);
        const std::string_view line = text.substr(0, text.find_first_of(std::string_view("\r\n\0", 3)));
        info.properties.push_back({"header", PlainLine(line.substr(0, line.find_last_not_of(' ') + 1))});
    }
    return MakeVariableReader(stock.Scopes(), std::move(info));
}

}  // namespace kvx
