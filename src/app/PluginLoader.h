#pragma once
#include <QString>

#include "entry/ozn32lib.h"

// The plug-in loaded at run time, with every export resolved by name.
struct Ozn32Plugin {
    ozn32::ShowSamplesWInput_t ShowSamplesWInput = nullptr;
    ozn32::ShowSamplesTmaxInput_t ShowSamplesTmaxInput = nullptr;
    ozn32::ShowLVNormativMethodInput_t ShowLVNormativMethodInput = nullptr;
    ozn32::ShowLVFiders_t ShowLVFiders = nullptr;
    ozn32::RunLVNormativMethod_t RunLVNormativMethod = nullptr;
    ozn32::RunLVNormativMethodResults_t RunLVNormativMethodResults = nullptr;
    ozn32::ShowLVPESResults_t ShowLVPESResults = nullptr;
    ozn32::ShowLVPESResultsAll_t ShowLVPESResultsAll = nullptr;
    ozn32::ShowLVResultsGrid_t ShowLVResultsGrid = nullptr;
    ozn32::ShowLVUndersupplyReport_t ShowLVUndersupplyReport = nullptr;
    ozn32::DetailFrameCreate_t DetailFrameCreate = nullptr;
    ozn32::ShowFiderHHResults_t ShowFiderHHResults = nullptr;
    ozn32::BuildFiderHHResults_t BuildFiderHHResults = nullptr;
    ozn32::GetLVMiddleRegim_t GetLVMiddleRegim = nullptr;
    ozn32::GetLVMaxRegim_t GetLVMaxRegim = nullptr;

    void* handle = nullptr;
    QString path;

    // The plug-in beside the application (lib/libozn32lib.so), or the file named by OZN3_PLUGIN.
    static QString DefaultPath();
    // Loads the library and resolves all fifteen names; false with a reason otherwise.
    bool Load(const QString& libraryPath, QString& error);
    void Unload();
};
