#pragma once

#include "baseclasses/streams.h"
#include "module/catalogue.h"

namespace nyx {

/// A filter's setup record as the base-class library wants it, with everything it points to.
class SetupRecords {
  public:
    /// Fills the record from a row of the catalogue. It points into this object and into the row,
    /// both of which must stay where they are.
    void Fill(const CatalogueRow& row);

    const AMOVIESETUP_FILTER* filter() const { return &filter_; }

  private:
    AMOVIESETUP_MEDIATYPE inputTypes_[2] = {};
    AMOVIESETUP_MEDIATYPE outputTypes_[2] = {};
    AMOVIESETUP_PIN pins_[2] = {};
    AMOVIESETUP_FILTER filter_ = {};
};

}  // namespace nyx
