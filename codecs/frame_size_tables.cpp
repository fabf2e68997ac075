#include "codecs/frame_size_tables.h"

namespace nyx {
namespace {

constexpr REFERENCE_TIME kDuration2997 = 333666;  // 10^7 * 1001 / 30000, truncated
constexpr REFERENCE_TIME kDuration25 = 400000;

struct FieldOrderRow {
    LONG width;
    LONG height;
    LONG fieldOrder;
};

constexpr FieldOrderRow kFieldOrders[] = {
    {1920, 1080, kTopFieldFirst},   {1440, 1080, kTopFieldFirst},  {1280, 1080, kTopFieldFirst},
    {1024, 576, kBottomFieldFirst}, {720, 576, kBottomFieldFirst}, {720, 486, kTopFieldFirst},
    {856, 480, kBottomFieldFirst},  {720, 480, kBottomFieldFirst},
};

struct PixelAspectRow {
    LONG width;
    LONG height;
    PixelAspect aspect;
};

// Display width over stored width. The first match wins: the wide-screen row of a size that has two
// is listed for completeness; a wide-screen frame states its own value.
constexpr PixelAspectRow kPixelAspects[] = {
    {1920, 1080, {1, 1}},    {1440, 1080, {1920, 1440}}, {1280, 1080, {1920, 1280}},
    {1280, 720, {1, 1}},     {960, 720, {1280, 960}},    {720, 576, {768, 720}},
    {720, 576, {1024, 720}}, {720, 486, {648, 720}},     {720, 486, {864, 720}},
    {720, 480, {648, 720}},  {720, 480, {864, 720}},     {704, 480, {648, 720}},
    {704, 576, {768, 720}},  {640, 480, {648, 640}},     {320, 240, {648, 640}},
    {160, 120, {648, 640}},  {352, 480, {648, 352}},     {352, 240, {648, 704}},
    {352, 288, {768, 720}},  {176, 144, {768, 720}},     {1280, 1024, {1, 1}},
    {1280, 960, {1, 1}},     {1024, 768, {1, 1}},        {800, 600, {1, 1}},
};

}  // namespace

LONG DefaultFieldOrder(LONG width, LONG height, REFERENCE_TIME averageFrameDuration) {
    if (averageFrameDuration != kDuration2997 && averageFrameDuration != kDuration25) {
        return kProgressive;
    }
    for (const FieldOrderRow& row : kFieldOrders) {
        if (row.width == width && row.height == height) {
            return row.fieldOrder;
        }
    }
    return kProgressive;
}

PixelAspect DefaultPixelAspect(LONG width, LONG height) {
    for (const PixelAspectRow& row : kPixelAspects) {
        if (row.width == width && row.height == height) {
            return row.aspect;
        }
    }
    return {1, 1};
}

}  // namespace nyx
