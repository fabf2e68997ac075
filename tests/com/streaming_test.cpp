#include "tests/support/rig.h"

namespace nyx::test {
namespace {

class EveryFilter : public RowTest {};
NYX_FOR_ROWS(EveryFilter, Catalogue());

TEST_P(EveryFilter, PassesFrames) {
    Rig rig(row());
    rig.Start();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rig.Push(), S_OK);
    }
    EXPECT_EQ(rig.sink.Count(), 3u);
    EXPECT_GT(rig.sink.Last().bytes.size(), 0u);
    EXPECT_EQ(rig.filter->Stop(), S_OK);
}
}  // namespace
}  // namespace nyx::test
