// SPDX-License-Identifier: MIT
//
// The public headers of what is in namespace kvx, lowest floor first.
#pragma once

#include <KvxDevCommon01/Export.h>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Clock.h>
#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/Desktop.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Folder.h>
#include <KvxDevCommon01/platform/HandleStream.h>
#include <KvxDevCommon01/platform/Interrupts.h>
#include <KvxDevCommon01/platform/Locale.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Profile.h>
#include <KvxDevCommon01/platform/Program.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxDevCommon01/platform/UserInterface.h>
#include <KvxDevCommon01/platform/Version.h>

#include <KvxDevCommon01/resources/Language.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>

#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <KvxDevCommon01/data/Histogram.h>
#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/RangeScan.h>
#include <KvxDevCommon01/data/Ring.h>
#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/data/Statistics.h>

#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/ShownValue.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/Averaging.h>
#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/Decibels.h>
#include <KvxDevCommon01/dsp/FirDesign.h>
#include <KvxDevCommon01/dsp/FrequencyResponse.h>
#include <KvxDevCommon01/dsp/FrequencyWeighting.h>
#include <KvxDevCommon01/dsp/IirDesign.h>
#include <KvxDevCommon01/dsp/LevelMeter.h>
#include <KvxDevCommon01/dsp/LevelReference.h>
#include <KvxDevCommon01/dsp/LineFigures.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/dsp/MovingRms.h>
#include <KvxDevCommon01/dsp/MrfChannels.h>
#include <KvxDevCommon01/dsp/OctaveBands.h>
#include <KvxDevCommon01/dsp/OctaveFilters.h>
#include <KvxDevCommon01/dsp/PolyphaseResampling.h>
#include <KvxDevCommon01/dsp/ProfileComparison.h>
#include <KvxDevCommon01/dsp/ProfileEditing.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/dsp/RandomWave.h>
#include <KvxDevCommon01/dsp/Resampling.h>
#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>
#include <KvxDevCommon01/dsp/SampleQueue.h>
#include <KvxDevCommon01/dsp/ShockPulse.h>
#include <KvxDevCommon01/dsp/ShockSpectrum.h>
#include <KvxDevCommon01/dsp/SineFit.h>
#include <KvxDevCommon01/dsp/SlicedSpectrum.h>
#include <KvxDevCommon01/dsp/SpectralFilter.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/dsp/ZeroPhase.h>

#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/files/FileHead.h>
#include <KvxDevCommon01/files/FileKinds.h>
#include <KvxDevCommon01/files/RecordFigures.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/files/SpectrumRecord.h>

#include <KvxDevCommon01/app/SuitePlaces.h>

#include <KvxDevCommon01/graph/AutoRange.h>
#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/graph/GraphSettings.h>
#include <KvxDevCommon01/graph/OwnedCopy.h>
#include <KvxDevCommon01/graph/PaneLayout.h>
#include <KvxDevCommon01/graph/VisibleRange.h>
