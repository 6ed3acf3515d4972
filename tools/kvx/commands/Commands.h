// SPDX-License-Identifier: MIT
//
// The commands, one per source file. Each Add... describes its command to `app`, the command line as a whole.
#pragma once

#include "cli/Command.h"

namespace kvx::tool {

void AddImport(Command app);
void AddConvert(Command app);
void AddMerge(Command app);
void AddEdit(Command app);
void AddFormats(Command app);
void AddInfo(Command app);
void AddSpectrum(Command app);
void AddPsd(Command app);
void AddXfr(Command app);
void AddSrs(Command app);
void AddShock(Command app);
void AddStats(Command app);
void AddBands(Command app);
void AddLevels(Command app);
void AddCalibrate(Command app);
void AddCompare(Command app);
void AddFilter(Command app);
void AddDesign(Command app);
void AddResample(Command app);
void AddExport(Command app);
void AddPlot(Command app);
void AddSpectrogram(Command app);
void AddSynth(Command app);
void AddPulse(Command app);
void AddProfile(Command app);
void AddUnits(Command app);
void AddWindows(Command app);
void AddKinds(Command app);
void AddShowValue(Command app);
void AddFolders(Command app);

}  // namespace kvx::tool
