// SPDX-License-Identifier: MIT
//
// The matrix family as lists of (class, cell), for explicit instantiation and for tests that run over all
// members. A list names the members that share one layer of DataMatrix.h.
#pragma once

// clang-format off
#define KVX_SNAPSHOT_MATRICES(X) X(CDataArrayMtxDouble,   CDataArrayDouble)   \
                                 X(CDataArrayMtxFloat,    CDataArrayFloat)    \
                                 X(CDataArrayMtxLong,     CDataArrayLong)
#define KVX_NUMBER_MATRICES(X)   KVX_SNAPSHOT_MATRICES(X)                     \
                                 X(CDataArrayMtxLongLong, CDataArrayLongLong) \
                                 X(CDataArrayMtxIntPtr,   CDataArrayIntPtr)
#define KVX_ARRAY_MATRICES(X)    KVX_NUMBER_MATRICES(X)                       \
                                 X(CDataArrayMtxBool,     CDataArrayBool)
// clang-format on
