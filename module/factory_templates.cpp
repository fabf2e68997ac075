/// @file
/// The class factory's table, filled from the catalogue before first use.

#include "module/catalogue.h"
#include "module/setup_records.h"

CFactoryTemplate g_Templates[nyx::kMostClasses];

namespace nyx {
namespace {

SetupRecords setupRecords[kMostClasses];

int FillTemplates() {
    for (int i = 0; i < kCatalogueSize; ++i) {
        const CatalogueRow& row = kCatalogue[i];
        g_Templates[i].m_Name = row.identity->friendlyName;
        g_Templates[i].m_ClsID = &row.identity->clsid;
        g_Templates[i].m_lpfnNew = row.create;
        if (row.input.count != 0) {
            setupRecords[i].Fill(row);
            g_Templates[i].m_pAMovieSetup_Filter = setupRecords[i].filter();
        }
    }
    return kCatalogueSize;
}

}  // namespace
}  // namespace nyx

int g_cTemplates = nyx::FillTemplates();
