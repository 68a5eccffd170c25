#pragma once

/// What tests replace at the module's imports, under the names that the compiler gives it.
namespace test::imported
{

#ifdef _MSC_VER

#ifdef _DEBUG
inline constexpr const char* runtime = "MSVCP140D.dll";
#else
inline constexpr const char* runtime = "MSVCP140.dll";
#endif
inline constexpr const char* joinThread = "_Thrd_join";

inline constexpr const char* registProvider =
    "?RegistProvider@VynProviderProxy@VynCore@@QEAA?AW4VynError@2@PEAVIProvider@2@@Z";
inline constexpr const char* unRegistProvider =
    "?UnRegistProvider@VynProviderProxy@VynCore@@QEAA?AW4VynError@2@PEAVIProvider@2@@Z";
inline constexpr const char* postText =
    "?PostMsg@IpcProxy@VynCore@@QEAA_NHHAEBV?$basic_string@DU?$char_traits@D@std@@V?$allocator@D@2@@std@@@Z";
inline constexpr const char* getIpcClient = "?GetIpcClient@IpcProxy@VynCore@@QEAAPEAVIPCMessageClient@@XZ";
inline constexpr const char* dropCallbacks = "?UnRegisterMessageCallbackAll@IPCMessageClient@@QEAA_NXZ";
inline constexpr const char* createTips =
    "?CreateTips@OrbTipsManager@TipsSdk@Qva@@QEAAPEAVTipsBase@23@PEAXW4EnmTipsType@23@H@Z";
inline constexpr const char* closeTips = "?CloseTips@OrbTipsManager@TipsSdk@Qva@@QEAA_NPEAVTipsBase@23@@Z";
inline constexpr const char* getPopWndResPath =
    "?GetPopWndResPath@CoheronUtilClass@@SA?AV?$basic_string@_WU?$char_traits@_W@std@@V?$allocator@_W@2@@std@@XZ";
inline constexpr const char* getLastTwoSerialNumber =
    "?GetLastTwoSerialNumber@AccessoryBaseSdk@@SA?AV?$basic_string@DU?$char_traits@D@std@@V?$allocator@D@2@@std@@"
    "AEBV23@@Z";
inline constexpr const char* logStream = "?Log@QvLogger@@QEAAXW4LOG_MESSAGE_LEVEL@@AEAV?$basic_stringstream@_WU?$char_"
                                         "traits@_W@std@@V?$allocator@_W@2@@std@@@Z";

#else

inline constexpr const char* runtime = "libstdc++-6.dll";
inline constexpr const char* joinThread = "_ZNSt6thread4joinEv";

inline constexpr const char* registProvider = "_ZN7VynCore16VynProviderProxy14RegistProviderEPNS_9IProviderE";
inline constexpr const char* unRegistProvider = "_ZN7VynCore16VynProviderProxy16UnRegistProviderEPNS_9IProviderE";
inline constexpr const char* postText =
    "_ZN7VynCore8IpcProxy7PostMsgEiiRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE";
inline constexpr const char* getIpcClient = "_ZN7VynCore8IpcProxy12GetIpcClientEv";
inline constexpr const char* dropCallbacks = "_ZN16IPCMessageClient28UnRegisterMessageCallbackAllEv";
inline constexpr const char* createTips = "_ZN3Qva7TipsSdk14OrbTipsManager10CreateTipsEPvNS0_11EnmTipsTypeEi";
inline constexpr const char* closeTips = "_ZN3Qva7TipsSdk14OrbTipsManager9CloseTipsEPNS0_8TipsBaseE";
inline constexpr const char* getPopWndResPath = "_ZN16CoheronUtilClass16GetPopWndResPathB5cxx11Ev";
inline constexpr const char* getLastTwoSerialNumber =
    "_ZN16AccessoryBaseSdk22GetLastTwoSerialNumberERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE";
inline constexpr const char* logStream =
    "_ZN8QvLogger3LogE17LOG_MESSAGE_LEVELRNSt7__cxx1118basic_stringstreamIwSt11char_traitsIwESaIwEEE";

#endif

} // namespace test::imported
