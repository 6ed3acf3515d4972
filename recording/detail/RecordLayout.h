// SPDX-License-Identifier: MIT
//
// Which records of a data file the runs of a signal become.
#pragma once

#include <cstddef>
#include <vector>

#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxRecording01/SignalReader.h>

namespace kvx {

struct RecordLayout {
    struct Place {
        __int64 record;
        __int64 row;
    };

    std::vector<RecordOutline> records;
    std::vector<std::vector<Place>> places;  ///< per run and channel

    /// The records that channels of a run are in, ascending.
    std::vector<__int64> RecordsOfRun(std::size_t run) const;
};

/// A record per run, unit and kind of values, in the order in which the units first appear. Throws Error for
/// a run that is too long for a record or has no axis.
RecordLayout LayOutRecords(const std::vector<SignalRun>& runs);

}  // namespace kvx
