#pragma once
// The fifteen exports of the plug-in, as the host calls them.
#include <cstdint>

class QWidget;
class TfdbDatabase;
class TFiderHH;
class TObject;
class ToznListItemCommon;
class TWCalcHHParams;
class TWCalcTmaxHHParams;

#define OZN32_EXPORT extern "C" __attribute__((visibility("default")))

OZN32_EXPORT void ShowSamplesWInput(const char16_t* AFileName, intptr_t AParam);
OZN32_EXPORT void ShowSamplesTmaxInput(const char16_t* AFileName, intptr_t AParam);
OZN32_EXPORT void ShowLVNormativMethodInput(const char16_t* AFileName, intptr_t AParam);
OZN32_EXPORT int32_t ShowLVFiders(int32_t ANodeGUID, int32_t* ALVFiderGUID);
OZN32_EXPORT int32_t RunLVNormativMethod(TfdbDatabase* ADataBase);
OZN32_EXPORT int32_t RunLVNormativMethodResults(TfdbDatabase* ADataBase);
OZN32_EXPORT int32_t ShowLVPESResults(TfdbDatabase* ADataBase, int32_t AIdent);
OZN32_EXPORT void ShowLVPESResultsAll();
OZN32_EXPORT void ShowLVResultsGrid(TfdbDatabase* ADataBase, int32_t AIdent);
OZN32_EXPORT int32_t ShowLVUndersupplyReport(intptr_t AParam);
OZN32_EXPORT QWidget* DetailFrameCreate(QWidget* AOwner, ToznListItemCommon* AObject, int32_t AIdent);
OZN32_EXPORT int32_t ShowFiderHHResults(TFiderHH* AFider, int32_t AIdent);
OZN32_EXPORT void BuildFiderHHResults(TFiderHH* AFider, TObject* AExport);
OZN32_EXPORT int32_t GetLVMiddleRegim(TWCalcHHParams* AParams);
OZN32_EXPORT int32_t GetLVMaxRegim(TWCalcTmaxHHParams* AParams);

// Pointer types of the exports, for the host that resolves them by name.
namespace ozn32 {
using ShowSamplesWInput_t = decltype(&::ShowSamplesWInput);
using ShowSamplesTmaxInput_t = decltype(&::ShowSamplesTmaxInput);
using ShowLVNormativMethodInput_t = decltype(&::ShowLVNormativMethodInput);
using ShowLVFiders_t = decltype(&::ShowLVFiders);
using RunLVNormativMethod_t = decltype(&::RunLVNormativMethod);
using RunLVNormativMethodResults_t = decltype(&::RunLVNormativMethodResults);
using ShowLVPESResults_t = decltype(&::ShowLVPESResults);
using ShowLVPESResultsAll_t = decltype(&::ShowLVPESResultsAll);
using ShowLVResultsGrid_t = decltype(&::ShowLVResultsGrid);
using ShowLVUndersupplyReport_t = decltype(&::ShowLVUndersupplyReport);
using DetailFrameCreate_t = decltype(&::DetailFrameCreate);
using ShowFiderHHResults_t = decltype(&::ShowFiderHHResults);
using BuildFiderHHResults_t = decltype(&::BuildFiderHHResults);
using GetLVMiddleRegim_t = decltype(&::GetLVMiddleRegim);
using GetLVMaxRegim_t = decltype(&::GetLVMaxRegim);
}  // namespace ozn32

// Names the host finds beside the exports; they carry no behaviour.
OZN32_EXPORT void* dbkFCallWrapperAddr;
OZN32_EXPORT void __dbk_fcall_wrapper();

// The export names, in the order of the table of exports.
inline constexpr const char* kOzn32ExportNames[] = {"ShowSamplesWInput",
                                                    "ShowSamplesTmaxInput",
                                                    "ShowLVNormativMethodInput",
                                                    "ShowLVFiders",
                                                    "RunLVNormativMethod",
                                                    "RunLVNormativMethodResults",
                                                    "ShowLVPESResults",
                                                    "ShowLVPESResultsAll",
                                                    "ShowLVResultsGrid",
                                                    "ShowLVUndersupplyReport",
                                                    "DetailFrameCreate",
                                                    "ShowFiderHHResults",
                                                    "BuildFiderHHResults",
                                                    "GetLVMiddleRegim",
                                                    "GetLVMaxRegim"};
