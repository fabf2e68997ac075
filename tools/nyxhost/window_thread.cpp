#include "window_thread.h"

#include <exception>
#include <thread>

#include "com.h"

namespace nyx::host {

void RunInWindowThread(const std::function<void()>& work) {
    SetProcessDPIAware();  // before the first window, so that none is scaled
    std::exception_ptr thrown;
    std::thread window([&] {
        const ComApartment apartment(COINIT_APARTMENTTHREADED);
        try {
            Check(apartment.Result(), "cannot initialise COM");
            work();
        } catch (...) {
            thrown = std::current_exception();
        }
    });
    window.join();
    if (thrown != nullptr) {
        std::rethrow_exception(thrown);
    }
}

}  // namespace nyx::host
