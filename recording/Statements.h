// SPDX-License-Identifier: MIT
//
// What a person or a program states of a recording, because the file does not say it or says it wrongly.
#pragma once

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
    std::string partial = "isPartial";
    std::string time = "firstColumnIsTime";
    std::string decimal = "decimalComma";
    std::string record = "record";
};

/// What is stated of a text table.
struct TextOptions {
    /// Whether the first column is the time; without a statement headings and spacing decide.
    std::optional<bool> firstColumnIsTime = std::nullopt;
    /// A comma inside a number is the decimal mark even where it could separate columns.
    bool decimalComma = false;
    /// The code page of the text; 0 for UTF-8, what a byte-order mark says, or a guess for headings.
    unsigned int codePage = 0;
    /// How sentences name the code page.
    std::string encodingName = "codePage";
};

struct RecordingStatements {
    /// The true rate [Hz]; else that of the sound file or of the time column.
    std::optional<double> rateHz = std::nullopt;
    /// One unit for all chosen channels or one each; none for those of the file.
    std::vector<EntryUnit> units = {};
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
    /// What stands for the name of the file as the text of its signal; empty for the name.
    std::wstring source = {};
    StatementNames called = {};
};

/// What was stated cannot be used for the recording, such as another number of names than it has channels.
class KVX_RECORDING_API StatementError : public Error {
public:
    explicit StatementError(std::string sentence);
};

}  // namespace kvx
