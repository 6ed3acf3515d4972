// SPDX-License-Identifier: MIT
//
// Names for the ids of the string table (StringTable.h). Blocks of texts that belong to the rows of another
// table are named by their first id; the row's own id is found there.
#pragma once

namespace kvx {

enum TextId : unsigned int {
    kTextFirstDimension = 101,  ///< 32 names, in the order of the dimension table
    kTextFirstUnit = 201,       ///< 165 names, in the order of the unit table

    kTextUnitProduct = 401,     ///< between two multiplied units
    kTextUnitSquared = 402,     ///< behind a squared unit
    kTextUnitQuotient = 403,    ///< between two divided units
    kTextUnitReciprocal = 404,  ///< in front of a reciprocal unit

    kTextSuffixZeroToPeak = 501,
    kTextSuffixPeakToPeak = 502,
    kTextSuffixRms = 503,

    kTextWesternMorning = 511,  ///< the half-day texts hold "%s" for the time
    kTextWesternAfternoon = 512,
    kTextJapaneseMorning = 513,
    kTextJapaneseAfternoon = 514,

    kTextFirstLongYearDate = 521,   ///< six date formats, four-digit year
    kTextFirstShortYearDate = 531,  ///< the same six, two-digit year
    kTextWestern24HourTime = 541,
    kTextJapanese24HourTime = 542,
    kTextWestern12HourTime = 543,
    kTextJapanese12HourTime = 544,

    kTextWrongFileKind = 803,
    kTextRowName = 811,     ///< format of one 64-bit integer, the 1-based row
    kTextColumnName = 812,  ///< format of one 64-bit integer, the 1-based column

    kTextFirstFileError = 1101,     ///< 15 messages, in the order of CFileException::Cause
    kTextGraph2D = 1201,
    kTextGraphWaterfall = 1202,
    kTextGraphColorMap = 1203,

    kTextFirstFileKindName = 2001,  ///< display names of the file kinds; the catalogue's rows name theirs

    kTextDefaultError = 3102,  ///< shown when the caller names no message
};

}  // namespace kvx
