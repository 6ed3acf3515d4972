// SPDX-License-Identifier: MIT
//
// CComHdr: the 640-byte header that opens every binary file of the suite. It says what kind of file it is and
// owns the catalogue of all kinds. Headers of the first generation are read, mapped onto today's kinds, and
// never written. One header belongs to one thread at a time; the static operations are safe from any thread.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>

/// The header as it lies in memory; on disk the same fields in the same order, little-endian.
struct COMHDR_TAG {
    std::uint32_t Magic;          ///< "Q7-2" as a number, 0x51372D32
    std::uint32_t HdrCode;        ///< kind of file; 0xFFFFFFFF when none was set
    char16_t Name[258];           ///< free text, NUL-terminated, zero-padded
    std::uint32_t MasterVersion;  ///< of the library that made the header; major number in the top byte
    std::uint8_t Reserved[112];
};
static_assert(sizeof(COMHDR_TAG) == 640);

class KVX_API CComHdr {
public:
    /// Number of a file kind in the catalogue, 1 to 359; 0 for none. Only kinds that code speaks of have
    /// names.
    enum EXT_INFO_TYPE : std::uint32_t {
        EXT_INFO_NONE = 0,
        EXT_INFO_GRAPH_CONFIG = 10,   ///< graph display settings, 0x40025 ".dat2"
        EXT_INFO_GRAPH_COLOR = 12,    ///< graph colours, 0x40026 ".gci2"
        EXT_INFO_VIB_DATA_1ST = 180,  ///< vibration data of any application, first generation, 0x20001 ".vdf"
        EXT_INFO_VIB_DATA = 181,      ///< vibration data of any application, 0x20011 ".vdf2"
        EXT_INFO_SINE_DATA = 183,     ///< 0x21011 ".vdf2"
        EXT_INFO_RANDOM_DATA = 185,   ///< 0x21111 ".vdf2"
        EXT_INFO_SHOCK_DATA = 187,    ///< 0x21211 ".vdf2"
        EXT_INFO_CAPTURE_DATA = 193,  ///< 0x21711 ".vdf2"
        EXT_INFO_LAST = 359,
    };

    /// Group of a kind: what the file is for.
    enum GRP_TYPE : std::uint32_t {
        GRP_NONE = 0,
        GRP_DEFINITION = 1,  ///< test and control definitions
        GRP_DATA = 2,        ///< measured data
        GRP_SETTING = 3,     ///< settings and information
    };

    /// Application of a kind, 1 to 37; 0 for none.
    enum APP_TYPE : std::uint32_t {
        APP_NONE = 0,
        APP_COMMON = 1,
        APP_SINE = 2,
        APP_RANDOM = 3,
        APP_SHOCK = 4,
        APP_CAPTURE = 9,
        APP_CONDITION_CHECK = 37,
    };

    /// What the first bytes of a file say.
    enum HDRCODE_TYPE : std::uint32_t {
        HDRCODE_FIRST = 1,    ///< first-generation header
        HDRCODE_CURRENT = 2,  ///< current header
        HDRCODE_UNKNOWN = 3,
    };

    /// An empty header: no kind, no name, stamped with this library's version.
    CComHdr();
    /// A header of kind `type` (no kind when the catalogue has none) with the free text `name`, of which at
    /// most 257 UTF-16 units are kept; null is no text.
    CComHdr(EXT_INFO_TYPE type, const wchar_t* name);

    CComHdr(const CComHdr&) = default;
    CComHdr& operator=(const CComHdr&) = default;
    /// Takes over a record as it is; an empty header when `tag` is null.
    CComHdr& operator=(const COMHDR_TAG* tag);

    /// Equal in all 640 bytes; a header whose own magic is not valid equals nothing, not even itself.
    bool operator==(const CComHdr& other) const;
    /// Equal in all 640 bytes to a record with a valid magic; null equals nothing.
    bool operator==(const COMHDR_TAG* tag) const;

    /// The record itself.
    const COMHDR_TAG& GetTag() const { return tag_; }
    /// The free text.
    CString GetName() const;

    GRP_TYPE GetGrpType() const;
    APP_TYPE GetAppType() const;
    /// Name of this header's application; 0 as the static form.
    int GetAppTypeName(CString* name) const;
    /// Name of an application; 0 for null, for a value outside 2 to 37 and for applications without a name.
    static int GetAppTypeName(CString* name, APP_TYPE type);

    /// Whether the header is of group `grp` and application `app`; 0 for either of them is any.
    int CheckType(GRP_TYPE grp, APP_TYPE app) const;
    int CheckGrpType(GRP_TYPE grp) const;
    int CheckAppType(APP_TYPE app) const;

    /// Makes this a header of kind `type`; 0 (and no change) when the catalogue has no such kind.
    int SetExtInfoType(EXT_INFO_TYPE type);
    /// The header's kind; for HDRCODE_FIRST the first-generation variant of it, which for every
    /// second-generation data file is EXT_INFO_VIB_DATA_1ST. 0 when the catalogue does not have the code.
    EXT_INFO_TYPE GetExtInfoType(HDRCODE_TYPE kind) const;

    /// Extension (with its dot, if it has one) and display name of the header's kind; each output may be
    /// null. 0 when the catalogue does not have the code.
    int GetExtInfo(CString* extension, CString* name) const;
    /// The same of kind `type`, and its flag: 0 for the first generation of some kinds, else 1.
    static int GetExtInfo(EXT_INFO_TYPE type, CString* extension, CString* name, int* flag);

    /// Looks at a file's first four bytes; HDRCODE_UNKNOWN also for null and for a file that cannot be read.
    static HDRCODE_TYPE GetHdrCodeType(const wchar_t* path);

    /// Reads the header of a file of either generation, for the first one with its extension block when
    /// `withExtension` is set. 0 when there is no complete header; the header is then empty or unchanged.
    int LoadComHdr(const wchar_t* path, BOOL withExtension);

    /// Reads or writes the current header; a short read throws the end-of-file exception and leaves it empty.
    void Serialize(CArchive& archive);

    /// Reads a first-generation header (320 bytes, and 64 more when `withExtension` is set) and takes over
    /// the current code of its kind. `version`, which may be null, receives the version that it states. A
    /// short read and a storing archive throw the end-of-file exception; the header is then empty.
    void Serialize1st(CArchive& archive, BOOL withExtension, std::int32_t* version);

    /// Version of the library that made the header, number by number and as text "23,0,0,0"; each output may
    /// be null. 0 when the header's magic is not valid.
    int GetMasterVersion(BYTE* major, BYTE* minor, BYTE* third, BYTE* fourth, CString* text) const;

private:
    void LclInit();
    void LclSetName(const CString& name);

    COMHDR_TAG tag_;
};
