// SPDX-License-Identifier: MIT
//
// What a person or a program states of a recording, because the file does not say it or says it wrongly.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Sensitivity.h>

namespace kvx {

/// How sentences name what can be stated: by the options of a command line, the fields of a dialogue or, as
/// here, the members of RecordingStatements.
struct StatementNames {
    std::string any = "members";
    std::string rate = "rateHz";
    std::string units = "units";
    std::string names = "names";
    std::string sensitivities = "sensitivities";
    std::string gains = "gains";
    std::string fullScale = "fullScale";
    std::string samples = "samples";
    std::string partial = "isPartial";
    std::string time = "firstColumnIsTime";
    std::string decimal = "decimalComma";
    std::string record = "record";
    std::string separator = "separator";
    std::string skip = "skippedLines";
    std::string comment = "comments";
    std::string axis = "axis";
    std::string spacing = "spacing";
    std::string uneven = "keepsUneven";
    std::string missing = "missing";
    std::string dates = "dateOrder";
};

/// What dates that end with their year begin with.
enum class DateOrder { dayFirst, monthFirst };

/// What is stated of a text table.
struct TextOptions {
    /// Whether the first column is the time, or what else the axis is; without a statement headings and
    /// spacing decide.
    std::optional<bool> firstColumnIsTime = std::nullopt;
    /// The column that is the time or what else the axis is, by its number from 1 or its heading; empty for
    /// the first one or none.
    std::wstring axisColumn = {};
    /// What the axis is: a time, a frequency or anything else that is no channel; else what its heading says.
    std::optional<CUnitCtrl::DIM_CODE> axis = std::nullopt;
    /// The distance of samples, in the standard unit of the axis, of a text without a column for it.
    std::optional<double> spacing = std::nullopt;
    /// Whether times that are not evenly spaced are kept as the places of the samples; places on any other
    /// axis are.
    bool keepsUneven = false;
    /// A comma inside a number is the decimal mark even where it could separate columns.
    bool decimalComma = false;
    /// What separates columns, ' ' for blanks and tabs; 0 for what the first row says.
    char separator = 0;
    /// Lines at the start that are passed over, whatever they hold.
    std::size_t skippedLines = 0;
    /// The signs of which each begins a comment line.
    std::string comments = "#";
    /// The texts that stand for a missing value, beside an empty field; without a statement there are none.
    std::optional<std::vector<std::string>> missing = std::nullopt;
    /// What dates such as 03/04/2024 begin with; without a statement what those of the column say.
    std::optional<DateOrder> dateOrder = std::nullopt;
    /// The code page of the text; 0 for UTF-8, what a byte-order mark says, or a guess for headings.
    unsigned int codePage = 0;
    /// How sentences name the code page.
    std::string encodingName = "codePage";
    /// How sentences name the other statements, RecordingStatements::called where it is part of them.
    StatementNames called = {};

    /// The names, by `called`, of all that is stated.
    KVX_RECORDING_API std::vector<std::string> Stated() const;
};

struct RecordingStatements {
    /// The true rate [Hz]; else that of the sound file or of the time column.
    std::optional<double> rateHz = std::nullopt;
    /// One unit for all chosen channels or one each, without a value for that of the file; none for those of
    /// the file.
    std::vector<std::optional<EntryUnit>> units = {};
    /// One name for each chosen channel; none for those of the file.
    std::vector<std::wstring> names = {};
    /// What turns the values of the channels, which are those of a sensor's electrical signal then, into the
    /// quantity that it measures: one for all chosen channels or one each.
    std::vector<Sensitivity> sensitivities = {};
    /// By what amplifiers multiplied the signals: one for all chosen channels or one each.
    std::vector<double> gains = {};
    /// What full scale of sound stands for, in the unit of its channel; else 1.
    std::optional<double> fullScale = std::nullopt;
    /// Whether sound that is cut short is taken as far as it goes.
    bool isPartial = false;
    TextOptions text = {};
    /// What stands for the name of the file as the text of its signal, where the file has none; empty for the
    /// name.
    std::wstring source = {};
    StatementNames called = {};
};

/// What was stated cannot be used for the recording, such as another number of names than it has channels.
class KVX_RECORDING_API StatementError : public Error {
public:
    explicit StatementError(std::string sentence);
};

}  // namespace kvx
