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

    kTextFirstFileError = 1101,  ///< 15 messages, in the order of CFileException::Cause

    kTextGraph2D = 1201,
    kTextGraphWaterfall = 1202,
    kTextGraphColorMap = 1203,

    // Labels of the dialog that an application builds for a CScaleParam; that of m_bXLog is
    // kTextFirstPeakThresholdKind + 1.
    kTextScaleFullRange = 1204,
    kTextScaleAutomatic = 1205,
    kTextScaleFixed = 1206,
    kTextScaleSymmetric = 1207,

    // Graph settings: labels of the dialogs that an application builds for them, questions and failures.
    kTextFirstGraphOutput = 1208,       ///< 2 names, in the order of CGraphColorInfo::OUTPUT_KIND
    kTextFirstGraphCompo = 1211,        ///< 8 names, in the order of CGraphColorInfo::COMPO_KIND
    kTextFirstGraphThickness = 1221,    ///< 3 names, in the order of GRAPH_COLOR_LINE_TAG::THICK_KIND
    kTextFirstGraphDataLine = 1231,     ///< 16 names, in the order of a group of data lines
    kTextFirstGraphSpecialLine = 1251,  ///< 4 names, in the order of the special lines
    kTextAskDisplayOnBlack = 1261,      ///< before CGraphColorInfo::SetDefault1 of the display
    kTextAskDisplayOnWhite = 1262,      ///< before SetDefault2 of the display
    kTextAskPrinter = 1263,             ///< before either of the printer
    kTextGraphTestTime = 1271,
    kTextGraphStatus = 1272,
    kTextGraphLegendWidth = 1273,
    kTextGraphScaleDigits = 1274,
    kTextGraphPeakMarkCount = 1275,
    kTextPeakThreshold = 1281,
    kTextFirstPeakThresholdKind = 1282,  ///< 3 names, in the order of the threshold kinds
    kTextPeakSearchBoth = 1285,
    kTextPeakSearchMaxima = 1286,
    kTextPeakSearchMinima = 1287,
    kTextLoadGraphInfoFailed = 1291,  ///< these hold "%s" for the path
    kTextStoreGraphInfoFailed = 1292,
    kTextLoadGraphColorFailed = 1293,
    kTextStoreGraphColorFailed = 1294,

    kTextFirstFileKindName = 2001,  ///< display names of the file kinds; the catalogue's rows name theirs

    kTextDefaultError = 3102,  ///< shown when the caller names no message
};

}  // namespace kvx
