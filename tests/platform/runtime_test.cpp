/// The runtime of our libraries on several threads: calls that run once, mutexes, and values of one
/// thread.

#include <pthread.h>
#include <windows.h>

#include <cstdio>

namespace {

constexpr int kThreads = 4, kRounds = 10, kError = 7;
pthread_once_t once = PTHREAD_ONCE_INIT;
pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
pthread_key_t key;
volatile int made = 0, sum = 0, destroyed = 0;

void Make() {
    Sleep(20);  // the other threads ask meanwhile
    made = made + 1;
}

DWORD WINAPI Meet(void*) {
    pthread_once(&once, Make);
    bool good = made == 1 && pthread_setspecific(key, &key) == 0;
    SetLastError(kError);
    good = pthread_getspecific(key) == &key && GetLastError() == kError && good;
    for (int i = 0; i < kRounds; ++i) {
        pthread_mutex_lock(&mutex);
        const int before = sum;
        Sleep(1);  // the other threads try meanwhile
        sum = before + 1;
        pthread_mutex_unlock(&mutex);
    }
    return good ? 0 : 1;
}

}  // namespace

int main() {
    DWORD failures = pthread_key_create(&key, [](void*) { destroyed = destroyed + 1; }) != 0;
    failures += pthread_key_create(&key, nullptr) == 0;  // the runtime has one key
    HANDLE threads[kThreads];
    for (HANDLE& thread : threads) {
        thread = CreateThread(nullptr, 0, &Meet, nullptr, 0, nullptr);
    }
    for (const HANDLE thread : threads) {
        DWORD failed = 1;
        WaitForSingleObject(thread, INFINITE);
        GetExitCodeThread(thread, &failed);
        failures += failed;
    }
    failures += made != 1 || sum != kThreads * kRounds || destroyed != kThreads;
    std::puts(failures ? "failed" : "[  PASSED  ]");  // as GoogleTest, for the checks
    return static_cast<int>(failures);
}
