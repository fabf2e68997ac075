#include "codecs/engine_library.h"

#include <cwchar>
#include <memory>
#include <mutex>
#include <new>

#include "codecs/engine_versions.h"

namespace nyx {
namespace {

// library           encode entry         decode entry         oldest version
constexpr EngineDescription kZetaTable[] = {
    {L"rkzcore.dll", "_zcf_encode@4", "_zcf_decode@4", kOldestZetaCore},
    {L"rkzalpha.dll", "_zetaa_encode@4", "_zetaa_decode@4", kOldestZetaAlpha},
};
constexpr EngineDescription kZeta2Table[] = {
    {L"rkz2core.dll", "_zeta2_encode@4", "_zeta2_decode@4", kOldestZeta2},
};
constexpr EngineDescription kLosslessTable[] = {
    {L"rkllc.dll", "_llc_encode@24", "_llc_decode@24", kOldestLossless},
};
constexpr EngineDescription kMpegIntraTable[] = {
    {L"rkm2vi01.dll", nullptr, "m2vi_decode", kOldestMpegIntra},
};
constexpr EngineDescription kDvTable[] = {
    {L"rkdvh.dll", "_dv_encode@24", "_dv_decode@24", kOldestDv},
};

/// The fixed file version of a loaded library, the high word above the low one; 0 when it has none
/// or it cannot be read.
ULONGLONG FileVersion(HMODULE module) {
    wchar_t path[519];
    // Not GetModuleFileNameEx: it reads the list of modules without the loader's lock and fails
    // while another thread loads or frees one.
    if (GetModuleFileNameW(module, path, 519) == 0) {
        return 0;
    }
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(path, &ignored);
    if (size == 0) {
        return 0;
    }
    const std::unique_ptr<BYTE[]> block(new (std::nothrow) BYTE[size]);
    void* root = nullptr;
    UINT rootSize = 0;
    if (!block || !GetFileVersionInfoW(path, 0, size, block.get()) ||
        !VerQueryValueW(block.get(), L"\\", &root, &rootSize) ||
        rootSize < sizeof(VS_FIXEDFILEINFO)) {
        return 0;
    }
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(root);
    return ULONGLONG{fixed->dwFileVersionMS} << 32 | fixed->dwFileVersionLS;
}

void* FindEntry(HMODULE module, const char* name) {
    return name ? reinterpret_cast<void*>(GetProcAddress(module, name)) : nullptr;
}

/// Loads the library from the folder "engines" beside this module; null when there is none. Load
/// tries the bare name first, so that an engine already installed wins.
HMODULE LoadFromOwnFolder(const wchar_t* library) {
    constexpr DWORD kMaxPath = 519;
    constexpr wchar_t kFolder[] = L"engines\\";
    wchar_t path[kMaxPath + ARRAYSIZE(kFolder) + 16];  // and the longest name of an engine
    HMODULE self = nullptr;
    if (!GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<const wchar_t*>(&zetaEngines), &self)) {
        return nullptr;
    }
    const DWORD length = GetModuleFileNameW(self, path, kMaxPath);
    wchar_t* const slash = length < kMaxPath ? std::wcsrchr(path, L'\\') : nullptr;
    if (length == 0 || !slash) {
        return nullptr;
    }
    std::wcscpy(slash + 1, kFolder);
    std::wcscat(slash, library);
    return LoadLibraryW(path);
}

}  // namespace

// Constant-initialised: no code of the module may run before the first codec is made.
constinit EngineFamily zetaEngines(kZetaTable);
constinit EngineFamily zeta2Engines(kZeta2Table);
constinit EngineFamily losslessEngines(kLosslessTable);
constinit EngineFamily mpegIntraEngines(kMpegIntraTable);
constinit EngineFamily dvEngines(kDvTable);

void EngineBinding::Load(const EngineDescription& engine) {
    Bind(LoadLibraryW(engine.library), engine);
    if (!module_) {
        Bind(LoadFromOwnFolder(engine.library), engine);
    }
}

void EngineBinding::Bind(HMODULE module, const EngineDescription& engine) {
    if (!module) {
        return;
    }
    module_ = module;
    const bool newEnough = engine.minimumVersion == 0 ||
                           FileVersion(module_) >= ULONGLONG{engine.minimumVersion} << 32;
    void* const encode = FindEntry(module_, engine.encodeEntry);
    void* const decode = FindEntry(module_, engine.decodeEntry);
    if (!newEnough || !decode || (engine.encodeEntry && !encode)) {
        FreeLibrary(module_);
        module_ = nullptr;
        return;
    }
    encode_ = encode;
    decode_ = decode;
}

void EngineBinding::Unload() {
    if (!module_) {
        return;
    }
    encode_ = nullptr;
    decode_ = nullptr;
    FreeLibrary(module_);
    module_ = nullptr;
}

void EngineFamily::Join() {
    const std::lock_guard<SpinLock> hold(lock_);
    if (InterlockedIncrement(&instances_) != 1) {
        return;
    }
    for (std::size_t i = 0; i < engines_.size(); ++i) {
        bindings_[i].Load(engines_[i]);
    }
}

void EngineFamily::Leave() {
    const std::lock_guard<SpinLock> hold(lock_);
    if (InterlockedDecrement(&instances_) != 0) {
        return;
    }
    for (std::size_t i = 0; i < engines_.size(); ++i) {
        bindings_[i].Unload();
    }
}

bool EngineFamily::IsComplete() const {
    for (std::size_t i = 0; i < engines_.size(); ++i) {
        if (!bindings_[i].IsComplete(engines_[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace nyx
