#include "baseclasses/amfilter_enum.h"

#include <algorithm>
#include <limits>

#include "baseclasses/amfilter.h"
#include "baseclasses/amfilter_pin.h"

LONG CFilterPins::Version(CBaseFilter& filter) {
    return filter.GetPinVersion();
}

IPin* CFilterPins::Get(CBaseFilter& filter, int position) {
    IPin* pin = nullptr;
    CopyInterface<IPin>(filter.GetPin(position), &pin);
    return pin;
}

bool CFilterPins::Skip(CBaseFilter& filter, ULONG count, int& position) {
    const bool enough = count <= static_cast<ULONG>(filter.GetPinCount() - position);
    position += enough ? static_cast<int>(count) : 0;
    return enough;
}

AM_MEDIA_TYPE* CPinTypes::Get(CBasePin& pin, int position) {
    CMediaType type;
    return pin.GetMediaType(position, &type) == S_OK ? CreateMediaType(&type) : nullptr;
}

bool CPinTypes::Skip(CBasePin& pin, ULONG count, int& position) {
    const auto room = static_cast<ULONG>(std::numeric_limits<int>::max() - position);
    position += static_cast<int>(std::min(count, room));
    CMediaType last;
    return count == 0 || pin.GetMediaType(position - 1, &last) == S_OK;
}
