// SPDX-License-Identifier: MIT
//
// CGraphInfo: the complete settings of a graph: its colours and its configuration, stored together in one
// file. A plain value; one object belongs to one thread at a time.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <KvxDevCommon01/graph/GraphConfigInfo.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/platform/Window.h>

class KVX_API CGraphInfo {
public:
    /// Equal in colours and configuration.
    bool operator==(const CGraphInfo& other) const = default;

    /// The members themselves, to be read and changed.
    CGraphColorInfo* GetGraphColorInfo() const { return &colors_; }
    CGraphConfigInfo* GetGraphConfigInfo() const { return &config_; }

    /// Loads a graph settings file of either generation; the first one held colours only. `headerText` (may
    /// be null) receives the free text of its header. On failure everything is at its default, the result is
    /// 0 and, when `showMessage` is not 0, the person is told.
    BOOL LoadGraphInfo(const CString& path, CString* headerText, int showMessage);
    /// The same for the first generation alone: a current file is refused.
    BOOL LoadGraphInfo1st(const CString& path, CString* headerText, int showMessage);
    /// Stores a current file, with `headerText` (may be null) in its header, replacing an existing one only
    /// when everything was written. Failure is reported as above; the settings stay.
    BOOL StoreGraphInfo(const CString& path, CString* headerText, int showMessage);

    /// Resets everything to the defaults, then serialises colours and configuration: only good for loading.
    /// A short read throws the end-of-file exception and leaves everything at its default.
    void Serialize(CArchive& archive);
    /// Resets everything to the defaults, then loads the colours of the first generation; otherwise as above.
    void Serialize1st(CArchive& archive);

    /// Lets a person change the settings in the dialog of the user-interface host, in front of `owner` (may
    /// be null). 1 when they were accepted; otherwise nothing changes.
    BOOL SetGraphInfo(CWnd* owner);

private:
    void LclInit();

    // A settings object that is const still hands out its members for changing.
    mutable CGraphColorInfo colors_;
    mutable CGraphConfigInfo config_;
};
