// The thread functions that the compiler's static runtime calls, on the Win32 API. Its usual thread
// library is made for programs: in a library that a host loads and frees, it hooks the process's
// exceptions and leaves a thread-local slot, of which a process has 1088, and two handles at every
// unload. Libraries that are linked with this use no std::thread, no std::condition_variable and no
// static object inside a function: these bring in the usual library, and the linker reports the
// names below twice.

#include <pthread.h>
#include <windows.h>

#include <cerrno>

#include "platform/system.h"

namespace __gnu_cxx {
void __freeres();  // frees the reserve for exceptions; libstdc++ declares it in no header
}

namespace {

constexpr pthread_mutex_t kFree = PTHREAD_MUTEX_INITIALIZER;
constexpr pthread_mutex_t kHeld = 1;

/// The one key that the runtime makes, for its thread-local objects.
DWORD key = FLS_OUT_OF_INDEXES;
void (*destroyValue)(void*) = nullptr;

void WINAPI DestroyValue(void* value) {
    if (destroyValue && value) {
        destroyValue(value);
    }
}

/// The first object to be constructed and so the last to be destroyed: frees what the runtime would
/// leave behind, all threads' values of the key and the reserve for exceptions.
struct UnloadCleanup {
    ~UnloadCleanup() {
        if (nyx::ProcessEnds()) {
            return;
        }
        if (key != FLS_OUT_OF_INDEXES) {
            FlsFree(key);
        }
        __gnu_cxx::__freeres();
    }
};
[[gnu::init_priority(101)]] UnloadCleanup unloadCleanup;

}  // namespace

extern "C" {

int pthread_once(pthread_once_t* once, void (*function)()) {
    constexpr pthread_once_t kRunning = 1;
    constexpr pthread_once_t kDone = 2;
    pthread_once_t found = PTHREAD_ONCE_INIT;
    if (__atomic_compare_exchange_n(once, &found, kRunning, false, __ATOMIC_ACQUIRE,
                                    __ATOMIC_ACQUIRE)) {
        function();
        __atomic_store_n(once, kDone, __ATOMIC_RELEASE);
    }
    while (__atomic_load_n(once, __ATOMIC_ACQUIRE) != kDone) {
        Sleep(1);
    }
    return 0;
}

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t*) {
    *mutex = kFree;
    return 0;
}

int pthread_mutex_destroy(pthread_mutex_t*) {
    return 0;
}

// The runtime holds its mutexes only for moments: to take from a reserve, search a list or read a
// file.
int pthread_mutex_lock(pthread_mutex_t* mutex) {
    for (DWORD pause = 0; __atomic_exchange_n(mutex, kHeld, __ATOMIC_ACQUIRE) == kHeld; pause = 1) {
        Sleep(pause);
    }
    return 0;
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    __atomic_store_n(mutex, kFree, __ATOMIC_RELEASE);
    return 0;
}

int pthread_key_create(pthread_key_t* created, void (*destroy)(void*)) {
    if (key != FLS_OUT_OF_INDEXES) {
        return EAGAIN;
    }
    destroyValue = destroy;
    key = FlsAlloc(DestroyValue);
    *created = key;
    return key == FLS_OUT_OF_INDEXES ? EAGAIN : 0;
}

void* pthread_getspecific(pthread_key_t of) {
    // The caller of a runtime function may not have read its system error yet.
    const DWORD error = GetLastError();
    void* value = FlsGetValue(of);
    SetLastError(error);
    return value;
}

int pthread_setspecific(pthread_key_t of, const void* value) {
    return FlsSetValue(of, const_cast<void*>(value)) ? 0 : ENOMEM;
}

/// libavutil waits with this. Never interrupted.
int nanosleep(const timespec* time, timespec*) {
    constexpr long kMillisecond = 1000000;
    Sleep(static_cast<DWORD>(time->tv_sec * 1000 +
                             (time->tv_nsec + kMillisecond - 1) / kMillisecond));
    return 0;
}

}  // extern "C"
