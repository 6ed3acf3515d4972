// SPDX-License-Identifier: MIT
//
// CScaleParam: how the axes of a graph are scaled: X, Y, an optional second Y axis and the depth of a
// waterfall or colour map. A flat record with a fixed image on disk; every number goes in, Check tells
// whether a graph can be drawn with them. An object belongs to one thread at a time.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/graph/GraphParam.h>
#include <KvxDevCommon01/platform/Types.h>

class CArchive;

class KVX_API CScaleParam {
public:
    /// Back to the defaults below: Y automatic, X and the second Y axis fixed at 0 to 0, which Check refuses
    /// until they have bounds or X is automatic.
    void Clear() { *this = CScaleParam(); }

    /// Whether a graph can be drawn: every axis in use is automatic or has bounds in order that are not both
    /// 0 (both above 0 on a logarithmic axis), none is logarithmic and symmetric at once, and the display
    /// type is known, with slices and a first ratio that is not negative where there is a depth.
    BOOL Check() const;

    /// Reads or writes 196 bytes: the version word 1, which reading does not look at, and the fields in their
    /// order, padded with zeros. Nothing is checked. A short read throws the end-of-file exception and leaves
    /// the object as it was.
    void Serialize(CArchive& archive);

    BOOL m_bXFullRange = 0;  ///< X shows the whole range of the data
    BOOL m_bXAuto = 0;       ///< X bounds come from the data; otherwise they are those below
    double m_dXMin = 0.0;
    double m_dXMax = 0.0;
    BOOL m_bXLog = 0;
    BOOL m_bXSymmetric = 0;  ///< X bounds are kept symmetric about 0

    BOOL m_bYAuto = 1;
    double m_dYMin = 0.0;
    double m_dYMax = 0.0;
    BOOL m_bYLog = 0;
    BOOL m_bYSymmetric = 0;

    BOOL m_bY2Enable = 0;  ///< there is a second Y axis, on the right
    BOOL m_bY2Auto = 0;
    double m_dY2Min = 0.0;
    double m_dY2Max = 0.0;
    BOOL m_bY2Log = 0;
    BOOL m_bY2Symmetric = 0;

    CGraphParam::GRAPHDISP_TYPE m_eDispType = CGraphParam::GRAPHDISP_2D;  ///< what this block was made for
    __int64 m_lZStart = 0;  ///< first slice shown by a waterfall or colour map
    __int64 m_lZNum = 0;    ///< number of slices shown
    BOOL m_bZFlag1 = 0;     ///< the last slice is in front (waterfall), at the bottom (colour map)
    BOOL m_bZFlag2 = 1;     ///< slices hide what lies behind (waterfall), blend into each other (colour map)
    double m_dZRatio1 = 0.7;  ///< waterfall: rise from first to last slice over the height of a slice
    double m_dZRatio2 = 0.2;  ///< waterfall: shift to the right on that way over the width of a slice

private:
    /// Hands every field in the order of the record to `exchange`, the gaps as their size in bytes.
    template <class Scale, class Exchange>
    static void LclVisitRecord(Scale& scale, Exchange exchange);
};
