/// The runtime of our libraries where threads meet in it: what is done once, and what one at a
/// time.

#include <pthread.h>
#include <windows.h>

#include <cstdio>

namespace {

constexpr int kThreads = 4, kRounds = 10;
pthread_once_t once = PTHREAD_ONCE_INIT;
pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
volatile int made = 0, sum = 0;

void Make() {
    Sleep(20);  // the others ask meanwhile
    made = made + 1;
}

DWORD WINAPI Meet(void*) {
    pthread_once(&once, Make);
    const int seen = made;
    for (int i = 0; i < kRounds; ++i) {
        pthread_mutex_lock(&mutex);
        const int before = sum;
        Sleep(1);  // the others try meanwhile
        sum = before + 1;
        pthread_mutex_unlock(&mutex);
    }
    return seen == 1 ? 0 : 1;
}

}  // namespace

int main() {
    DWORD failures = 0;
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
    std::printf("made %d times, %d of %d, %lu failures\n", made, sum, kThreads * kRounds, failures);
    return made == 1 && sum == kThreads * kRounds ? static_cast<int>(failures) : 1;
}
