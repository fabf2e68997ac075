#include "tests/support/test_graph.h"

#include <algorithm>

namespace nyx::test {

std::vector<TestGraph::Event> TestGraph::events() const {
    const std::lock_guard lock(mutex_);
    return events_;
}

int TestGraph::Count(long code) const {
    const auto all = events();
    return static_cast<int>(std::count_if(
        all.begin(), all.end(), [code](const Event& event) { return event.code == code; }));
}

HRESULT TestGraph::Notify(LONG code, LONG_PTR parameter1, LONG_PTR parameter2) {
    const std::lock_guard lock(mutex_);
    events_.push_back({code, parameter1, parameter2});
    return S_OK;
}

}  // namespace nyx::test
