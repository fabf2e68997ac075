#include "tests/support/task_memory.h"

#include <objbase.h>
#include <objidl.h>

#include <atomic>

namespace nyx::test {
namespace {

/// Sees every call of the COM task allocator. `spied` marks blocks that were allocated while this
/// spy was in place; only those are counted.
class TaskMemorySpy : public IMallocSpy {
  public:
    long alive() const { return alive_; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (iid != IID_IUnknown && iid != IID_IMallocSpy) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = this;
        return S_OK;
    }
    // Lives in static storage until the process ends.
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T bytes) override { return bytes; }
    void* STDMETHODCALLTYPE PostAlloc(void* block) override {
        alive_ += block ? 1 : 0;
        return block;
    }
    void* STDMETHODCALLTYPE PreFree(void* block, BOOL spied) override {
        alive_ -= block && spied ? 1 : 0;
        return block;
    }
    void STDMETHODCALLTYPE PostFree(BOOL) override {}
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* block, SIZE_T bytes, void** old,
                                        BOOL spied) override {
        alive_ -= block && spied ? 1 : 0;
        *old = block;
        return bytes;
    }
    void* STDMETHODCALLTYPE PostRealloc(void* block, BOOL) override {
        alive_ += block ? 1 : 0;
        return block;
    }
    void* STDMETHODCALLTYPE PreGetSize(void* block, BOOL) override { return block; }
    SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T bytes, BOOL) override { return bytes; }
    void* STDMETHODCALLTYPE PreDidAlloc(void* block, BOOL) override { return block; }
    int STDMETHODCALLTYPE PostDidAlloc(void*, BOOL, int actual) override { return actual; }
    void STDMETHODCALLTYPE PreHeapMinimize() override {}
    void STDMETHODCALLTYPE PostHeapMinimize() override {}

  private:
    std::atomic<long> alive_{0};
};

TaskMemorySpy spy;

}  // namespace

void WatchTaskMemory() {
    CoRegisterMallocSpy(&spy);
}

long LiveTaskMemoryBlocks() {
    return spy.alive();
}

}  // namespace nyx::test
