#pragma once

/// @file
/// Loading the closed engines. Each family of engines is one row of a table and one process-wide
/// binding; a codec object that uses a family holds an EngineUse of it.

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <span>

#include "codecs/spin_lock.h"

namespace nyx {

/// One engine library, and the entries and version that it needs.
struct EngineDescription {
    const wchar_t* library;   ///< bare file name, searched in the system's order and then in the
                              ///< folder "engines" beside the module
    const char* encodeEntry;  ///< decorated as exported; null for an engine that only decodes
    const char* decodeEntry;
    DWORD minimumVersion;  ///< high word of the fixed file version, see EngineVersion; 0: not read
};

/// One loaded engine. Empty while its library is missing, too old or lacks an entry.
class EngineBinding {
  public:
    constexpr EngineBinding() = default;

    /// True when every entry that the description names is bound.
    [[nodiscard]] bool IsComplete(const EngineDescription& engine) const {
        return decode_ != nullptr && (!engine.encodeEntry || encode_ != nullptr);
    }

    /// The entries as functions of the given type, null when not bound.
    template <typename Entry>
    [[nodiscard]] Entry Encode() const {
        return reinterpret_cast<Entry>(encode_.load());
    }
    template <typename Entry>
    [[nodiscard]] Entry Decode() const {
        return reinterpret_cast<Entry>(decode_.load());
    }

    /// Loads the engine and binds it when it is new enough and complete.
    void Load(const EngineDescription& engine);

    /// Clears the entries, then frees the library. An empty binding stays empty.
    void Unload();

  private:
    /// Binds a loaded library, or frees it when it is too old or lacks an entry. Ignores null.
    void Bind(HMODULE module, const EngineDescription& engine);

    HMODULE module_ = nullptr;
    std::atomic<void*> encode_{nullptr};
    std::atomic<void*> decode_{nullptr};
};

/// Engines that the first user loads and the last one frees, under one lock and one instance
/// counter. Constant-initialised, because codecs may be made at any time.
class EngineFamily {
  public:
    static constexpr std::size_t kMaxEngines = 2;

    template <std::size_t kCount>
    explicit constexpr EngineFamily(const EngineDescription (&engines)[kCount])
        : engines_(engines) {
        static_assert(kCount <= kMaxEngines);
    }
    EngineFamily(const EngineFamily&) = delete;
    EngineFamily& operator=(const EngineFamily&) = delete;

    /// Counts one more user; the first one loads. Never fails: a missing engine leaves its binding
    /// empty. Callable on any thread.
    void Join();

    /// Counts one user less; the last one frees.
    void Leave();

    /// True when every engine of the family is bound. Callable on any thread, at any time.
    [[nodiscard]] bool IsComplete() const;

    /// The binding of the engine with this row in the family's table.
    [[nodiscard]] const EngineBinding& operator[](std::size_t engine) const {
        return bindings_[engine];
    }

  private:
    std::span<const EngineDescription> engines_;
    EngineBinding bindings_[kMaxEngines];
    SpinLock lock_;
    volatile LONG instances_ = 0;
};

/// The families. The rows of a family are named beside it.
extern constinit EngineFamily zetaEngines;
constexpr std::size_t kZetaCoreEngine = 0;
constexpr std::size_t kZetaAlphaEngine = 1;
extern constinit EngineFamily zeta2Engines;
extern constinit EngineFamily losslessEngines;
extern constinit EngineFamily mpegIntraEngines;
extern constinit EngineFamily dvEngines;

/// A codec object's share in a family, from construction to destruction.
class EngineUse {
  public:
    explicit EngineUse(EngineFamily& family) : family_(family) { family_.Join(); }
    ~EngineUse() { family_.Leave(); }
    EngineUse(const EngineUse&) = delete;
    EngineUse& operator=(const EngineUse&) = delete;

    [[nodiscard]] const EngineBinding& operator[](std::size_t engine) const {
        return family_[engine];
    }

  private:
    EngineFamily& family_;
};

}  // namespace nyx
