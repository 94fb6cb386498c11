#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "analysis/statistics.h"

namespace kelp::analysis {

// Bit widths of one sigma-delta model: B, the primary converter's width that limits its
// resolution, and A, the auxiliary width (its codes weigh FSa / 2^A, and it is the
// auxiliary peak-to-peak reference). A model without a row counts as 24 and 16.
struct SdWidths {
    int B = 24;
    int A = 16;
};
SdWidths SdModelWidths(std::string_view model);

// A strip chart of the run window as the analysis copies it.
struct ChartCopy {
    double upperBound = 0;
    double lowerBound = 0;
    std::string maxLabel;
    std::string midLabel;
    std::string minLabel;
};

// What the analysis reads from SD_KELP: texts as shown, positions of lists (from 0).
struct SdRunSettings {
    std::string VrefTextbox{};
    std::string SF{};
    std::string ConversionRate{};
    bool DACButton = false;
    std::string DACData{};
    int DACPin = 0;
    bool IEXC1Button = false;
    int IEXC1Pin = 0;
    bool IEXC2Button = false;
    int IEXC2Pin = 0;

    bool PrimaryADCButton = false;
    int PrimaryReference = 0;
    int PrimaryMode = 0;
    int PrimaryInputRange = 0;
    std::string PrimaryInputRangeText{};
    std::string PrimaryInputChannel{};  // the entry's text
    ChartCopy Graph{};

    bool AuxillaryADCButton = false;
    int AuxReference = 0;
    int AuxMode = 0;
    std::string AuxInputChannel{};  // the entry's text
    std::string AuxInputRange{};    // the text box
    ChartCopy AuxGraph{};
};

// The run's results; samples lie at indexes 0 .. SampleCount - 1 of each buffer.
struct SdRunResults {
    std::span<const int32_t> PrimaryCodeBuffer;
    std::span<const int32_t> PrimaryRawBuffer;
    std::span<const int32_t> AuxCodeBuffer;
    int32_t PrimaryMinCode = 0x1000000;
    int32_t PrimaryMaxCode = 0;
    int32_t AuxMinCode = 0x1000000;
    int32_t AuxMaxCode = 0;
    int SampleCount = 0;
};

struct SdAnalysisInput {
    std::string ModelName;
    SdRunResults results;
    SdRunSettings settings;
};

// A star mark or the note: a primary block that is switched off leaves them as they were.
enum class Mark { Unchanged, Shown, Hidden };

// One result block. The auxiliary block uses the same fields for its Aux... boxes.
struct BlockFigures {
    bool enabled = false;  // captions and boxes enabled, samples plotted
    std::string VrefTextbox = "0";
    std::string ADCChanTextbox = "0";
    std::string ADCRangeTextbox = "0";
    std::string MaxCodeTextBox = "0";
    std::string MinCodeTextbox = "0";
    std::string PPNoiseCodesTextbox = "0";
    std::string RMSNoiseuVTextbox = "0";
    std::string RMSNoiseBitsTextbox = "0";
    std::string PPNoiseuVTextbox = "0";
    std::string PPNoiseBitsTextbox = "0";
    // All zero when switched off; in exact mode the chart shows columnCount columns.
    HistogramResult histogram;
    std::string MinCodeHistogramTextbox;
    std::string MidCodeHistogramTextbox;
    std::string MaxCodeHistogramTextbox;
    // Bounds and labels of the chart; only the (empty) labels count when switched off.
    ChartCopy graph;
};

struct SdFigures {
    std::string Text5;   // SF
    std::string Text6;   // update rate
    std::string Text7;   // IEXC1
    std::string Text8;   // IEXC2
    std::string Text13;  // DAC
    BlockFigures primary;
    BlockFigures aux;
    Mark Star1 = Mark::Unchanged;       // primary peak-to-peak resolution
    Mark Star2 = Mark::Unchanged;       // primary RMS resolution
    Mark limitation = Mark::Unchanged;  // the note that explains a star
};

// Everything AnalyseData of SD_KELP_Analysis shows. The window's VrefTextbox is the primary
// block's; the settings summary's copy of the run window's text is always overwritten there.
// A block without samples (no count, or its minimum above its maximum) shows "0" for its
// figures, empty code boxes and marks, an empty histogram and no star: nothing was measured.
SdFigures ComputeSdFigures(const SdAnalysisInput& in);

enum class SdBlock { Primary, Aux };

// How one block's codes weigh, as the analysis reads the run window's settings: full scale in
// volts (0 when the reference text holds no number), the bits a code of PrimaryCodeBuffer or
// AuxCodeBuffer is referred to (B or A of the model), and bipolar input (codes centred on
// half of 2^codeBits).
struct SdBlockScale {
    double fullScale = 0;
    int codeBits = 24;
    bool bipolar = false;
};
SdBlockScale SdScaleOf(const SdAnalysisInput& in, SdBlock block);

}  // namespace kelp::analysis
