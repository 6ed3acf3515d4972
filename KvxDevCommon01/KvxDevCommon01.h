// SPDX-License-Identifier: MIT
//
// Every public header of the library, lowest floor first.
#pragma once

#include <KvxDevCommon01/Export.h>

#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Clock.h>
#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/DateTime.h>
#include <KvxDevCommon01/platform/Desktop.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/Folder.h>
#include <KvxDevCommon01/platform/HandleStream.h>
#include <KvxDevCommon01/platform/Interrupts.h>
#include <KvxDevCommon01/platform/Locale.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Profile.h>
#include <KvxDevCommon01/platform/Program.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Thread.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/platform/UserInterface.h>
#include <KvxDevCommon01/platform/Version.h>
#include <KvxDevCommon01/platform/Window.h>

#include <KvxDevCommon01/resources/Language.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>

#include <KvxDevCommon01/text/Character.h>
#include <KvxDevCommon01/text/ConvData.h>
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/data/Histogram.h>
#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/RangeScan.h>
#include <KvxDevCommon01/data/Ring.h>
#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/data/Statistics.h>

#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/ShownValue.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/UnitCtrlList.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxDevCommon01/units/ValConv.h>

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/Averaging.h>
#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/Decibels.h>
#include <KvxDevCommon01/dsp/FirDesign.h>
#include <KvxDevCommon01/dsp/FrequencyResponse.h>
#include <KvxDevCommon01/dsp/IirDesign.h>
#include <KvxDevCommon01/dsp/LineFigures.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/MatIir.h>
#include <KvxDevCommon01/dsp/MatLib.h>
#include <KvxDevCommon01/dsp/MatMrf.h>
#include <KvxDevCommon01/dsp/MatMrfMtx.h>
#include <KvxDevCommon01/dsp/MatMrfRateCnv.h>
#include <KvxDevCommon01/dsp/MatMtxp.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/MatWIND.h>
#include <KvxDevCommon01/dsp/MovingRms.h>
#include <KvxDevCommon01/dsp/MrfChannels.h>
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
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/ComFileErr.h>
#include <KvxDevCommon01/files/ComFileFunc.h>
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/files/DataFile.h>
#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/files/FileHead.h>
#include <KvxDevCommon01/files/FileKinds.h>
#include <KvxDevCommon01/files/RecordFigures.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/files/SpectrumRecord.h>

#include <KvxDevCommon01/app/AppFunc.h>
#include <KvxDevCommon01/app/ComThread.h>
#include <KvxDevCommon01/app/Ptimer.h>
#include <KvxDevCommon01/app/SuitePlaces.h>
#include <KvxDevCommon01/app/TickTimers.h>
#include <KvxDevCommon01/app/WaitTimer.h>

#include <KvxDevCommon01/graph/AutoRange.h>
#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <KvxDevCommon01/graph/GraphConfigInfo.h>
#include <KvxDevCommon01/graph/GraphInfo.h>
#include <KvxDevCommon01/graph/GraphLineInfo.h>
#include <KvxDevCommon01/graph/GraphMarkInfo.h>
#include <KvxDevCommon01/graph/GraphParam.h>
#include <KvxDevCommon01/graph/GraphSettings.h>
#include <KvxDevCommon01/graph/KvxGraphLineSample.h>
#include <KvxDevCommon01/graph/OwnedCopy.h>
#include <KvxDevCommon01/graph/PaneLayout.h>
#include <KvxDevCommon01/graph/ScaleParam.h>
#include <KvxDevCommon01/graph/VisibleRange.h>
