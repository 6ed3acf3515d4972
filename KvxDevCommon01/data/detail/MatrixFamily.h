// SPDX-License-Identifier: MIT
//
// The matrices of arrays as lists of (class, cell), for explicit instantiation and for tests that run over
// all members. A list names the members that have certain operations, as the concepts of DataMatrix.h do.
#pragma once

// clang-format off
#define KVX_RECORDING_MATRICES(X) X(CDataArrayMtxDouble,     CDataArrayDouble)   \
                                  X(CDataArrayMtxFloat,      CDataArrayFloat)    \
                                  X(CDataArrayMtxLong,       CDataArrayLong)
#define KVX_ARRAY_MATRICES(X)     KVX_RECORDING_MATRICES(X)                      \
                                  X(CDataArrayMtxLongLong,   CDataArrayLongLong) \
                                  X(CDataArrayMtxIntPtr,     CDataArrayIntPtr)   \
                                  X(CDataArrayMtxBool,       CDataArrayBool)
#define KVX_CPLX_MATRICES(X)      X(CDataArrayDoubleMtxCplx, CDataArrayDoubleCplx) \
                                  X(CDataArrayMtxCplx,       CDataArrayCplx)
#define KVX_CELL_MATRICES(X)      KVX_ARRAY_MATRICES(X) KVX_CPLX_MATRICES(X)
#define KVX_SCALABLE_MATRICES(X)  X(CDataArrayMtxDouble, CDataArrayDouble) KVX_CPLX_MATRICES(X)
// clang-format on
