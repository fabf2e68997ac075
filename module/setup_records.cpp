#include "module/setup_records.h"

namespace nyx {
namespace {

void FillPin(AMOVIESETUP_PIN* pin, AMOVIESETUP_MEDIATYPE* types, const wchar_t* name, BOOL output,
             const PinTypes& registered) {
    for (unsigned i = 0; i < registered.count; ++i) {
        types[i].clsMajorType = &MEDIATYPE_Video;
        types[i].clsMinorType = &registered.subtypes[i];
    }
    pin->strName = const_cast<wchar_t*>(name);
    pin->bOutput = output;
    pin->nMediaTypes = registered.count;
    pin->lpMediaType = types;
}

}  // namespace

void SetupRecords::Fill(const CatalogueRow& row) {
    FillPin(&pins_[0], inputTypes_, L"Input", FALSE, row.input);
    FillPin(&pins_[1], outputTypes_, L"Output", TRUE, row.output);
    filter_.clsID = &row.identity->clsid;
    filter_.strName = row.identity->friendlyName;
    filter_.dwMerit = row.merit;
    filter_.nPins = 2;
    filter_.lpPin = pins_;
}

}  // namespace nyx
