#include "engine_libraries.h"

#include "text.h"

namespace nyx::host {
namespace {

constexpr DWORD Version(WORD major, WORD minor) {
    return DWORD{major} << 16 | minor;
}

constexpr EngineLibrary kEngines[] = {
    {"rkzcore.dll", "Zeta", Version(1, 32)},
    {"rkzalpha.dll", "Zeta", Version(1, 20)},
    {"rkz2core.dll", "Zeta2", Version(1, 0)},
    {"rkllc.dll", "Lossless", Version(1, 21)},
    {"rkm2vi01.dll", "MPEG2-Intra", 0},
    {"rkdvh.dll", "DV, DVCPRO50, DVCPRO HD", Version(4, 31)},
};

/// A library that stays loaded for the object's life.
class LoadedLibrary {
  public:
    explicit LoadedLibrary(const std::wstring& name) : handle_(LoadLibraryW(name.c_str())) {}
    ~LoadedLibrary() {
        if (handle_ != nullptr) {
            FreeLibrary(handle_);
        }
    }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    HMODULE Get() const { return handle_; }

    std::wstring Path() const {
        std::wstring path(32768, L'\0');
        path.resize(GetModuleFileNameW(handle_, path.data(), static_cast<DWORD>(path.size())));
        return path;
    }

  private:
    HMODULE handle_;
};

/// The version resource of a file.
class VersionResource {
  public:
    explicit VersionResource(const std::wstring& path) {
        DWORD ignored = 0;
        block_.resize(GetFileVersionInfoSizeW(path.c_str(), &ignored));
        if (!block_.empty() &&
            !GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block_.size()),
                                 block_.data())) {
            block_.clear();
        }
    }

    std::optional<ULONGLONG> FileVersion() const {
        UINT size = 0;
        const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(Query(L"\\", &size));
        if (fixed == nullptr || size < sizeof(*fixed)) {
            return std::nullopt;
        }
        return ULONGLONG{fixed->dwFileVersionMS} << 32 | fixed->dwFileVersionLS;
    }

    /// The file's description in the first of its languages.
    std::string Description() const {
        UINT size = 0;
        const auto* language =
            static_cast<const WORD*>(Query(L"\\VarFileInfo\\Translation", &size));
        if (language == nullptr || size < 2 * sizeof(WORD)) {
            return {};
        }
        const std::wstring name =
            Wide(Format("\\StringFileInfo\\%04x%04x\\FileDescription", language[0], language[1]));
        const auto* text = static_cast<const wchar_t*>(Query(name.c_str(), &size));
        return text == nullptr || size == 0 ? std::string()
                                            : Utf8(std::wstring_view(text, size - 1));
    }

  private:
    const void* Query(const wchar_t* name, UINT* size) const {
        void* found = nullptr;
        return !block_.empty() && VerQueryValueW(block_.data(), name, &found, size) ? found
                                                                                    : nullptr;
    }

    std::vector<BYTE> block_;
};

FoundEngine Find(const EngineLibrary& library) {
    FoundEngine found{library};
    const LoadedLibrary loaded(Wide(library.file));
    if (loaded.Get() == nullptr) {
        found.result = LastResult();
        return found;
    }
    const std::wstring path = loaded.Path();
    const VersionResource resource(path);
    found.path = Utf8(path);
    found.version = resource.FileVersion();
    found.description = resource.Description();
    return found;
}

}  // namespace

bool FoundEngine::IsNewEnough() const {
    return version.value_or(0) >= ULONGLONG{library.minimumVersion} << 32;
}

std::vector<FoundEngine> FindEngines() {
    std::vector<FoundEngine> found;
    for (const EngineLibrary& library : kEngines) {
        found.push_back(Find(library));
    }
    return found;
}

std::string MinimumVersionText(DWORD minimum) {
    return Format("%u.%u", HIWORD(minimum), LOWORD(minimum));
}

std::string VersionText(ULONGLONG version) {
    const auto high = static_cast<DWORD>(version >> 32);
    const auto low = static_cast<DWORD>(version);
    return MinimumVersionText(high) + "." + MinimumVersionText(low);
}

}  // namespace nyx::host
