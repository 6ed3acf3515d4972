// SPDX-License-Identifier: MIT
//
// Recordings of any format: kvx.Recording, its runs and channels, and what is read, written and made of them.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <KvxRecording01/SignalReader.h>

#include "arrays.h"
#include "records.h"

namespace kvx::python {

/// A recording that is opened anew for each use, so that any number of them go on at a time.
class Recording {
public:
    /// Opens channels of it, as ChooseChannels takes them, or all with "".
    using Open =
        std::function<std::unique_ptr<SignalReader>(const std::string& channels, const SignalKinds& kinds)>;

    /// `remake` is the function and the arguments that make it again elsewhere. Opens it to see what it
    /// holds, with the lock released.
    Recording(std::string path, Open open, py::object remake);

    /// A reader that stands at the start. Throws Error when the recording is closed or has changed.
    std::unique_ptr<SignalReader> Reader();
    /// A reader for what takes waveforms only.
    std::unique_ptr<SignalReader> Waveforms(const std::string& channels = {});
    void Close();
    bool IsClosed() const;

    const std::string& Path() const { return path_; }
    const std::vector<SignalRun>& Runs() const { return runs_; }
    const std::wstring& Text() const { return text_; }
    const std::vector<std::string>& Remarks() const { return remarks_; }
    const std::vector<RecordingInfo::Property>& Properties() const { return properties_; }
    const py::object& Remake() const { return *remake_; }

private:
    Open Opened() const;

    std::string path_;
    Open open_;
    std::shared_ptr<py::object> remake_;  // a thread without the lock may be the last to hold the recording
    std::vector<SignalRun> runs_;
    std::wstring text_;
    std::vector<std::string> remarks_;
    std::vector<RecordingInfo::Property> properties_;
    mutable std::mutex mutex_;
    std::unique_ptr<SignalReader> unread_;  // of the first opening
};
using RecordingPointer = std::shared_ptr<Recording>;

/// Everything that a reader is asked for by those who take all there is.
inline constexpr SignalKinds kAllKinds = {.anyRun = true, .missing = true, .isJoined = false};

/// Whatever samples can be taken from: a recording, records, spectra, or arrays with the arguments of
/// recording().
RecordingPointer RecordingOf(const py::object& data, const py::kwargs& more);
/// The same as records in memory; those of a DataFile are not copied.
ContentPointer ContentOf(const py::object& data, const py::kwargs& more);

void BindRecordings(py::module_& module);

}  // namespace kvx::python
