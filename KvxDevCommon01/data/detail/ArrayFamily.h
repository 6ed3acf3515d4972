// SPDX-License-Identifier: MIT
//
// The array family as lists of (class, element), for explicit instantiation and for tests that run over all
// members. A list names the members that have certain operations, as the concepts of DataArray.h do.
#pragma once

// clang-format off
#define KVX_FLOATING_ARRAYS(X) X(CDataArrayDouble,   double)       X(CDataArrayFloat,  float)
#define KVX_INT64_ARRAYS(X)    X(CDataArrayLongLong, std::int64_t) X(CDataArrayIntPtr, std::int64_t)
#define KVX_INTEGER_ARRAYS(X)  X(CDataArrayLong,     std::int32_t) KVX_INT64_ARRAYS(X)
#define KVX_NUMBER_ARRAYS(X)   KVX_FLOATING_ARRAYS(X)              KVX_INTEGER_ARRAYS(X)
#define KVX_ALL_ARRAYS(X)      KVX_NUMBER_ARRAYS(X)                X(CDataArrayBool,   int)
// clang-format on
