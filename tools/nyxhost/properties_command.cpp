#include <CLI/CLI.hpp>

#include <olectl.h>

#include "commands.h"
#include "console.h"
#include "encoder_filter.h"
#include "platform/system.h"
#include "text.h"

namespace nyx::host {
namespace {

struct TaskMemoryFree {
    void operator()(void* memory) const { CoTaskMemFree(memory); }
};

ExitCode ShowPages(const NoOptions&) {
    SetProcessDPIAware();  // before the first window, so that none is scaled
    const EncoderFilter encoder = FindEncoder();
    const EncodeParameterBlock before = LiveParameters(encoder);
    Print(encoder.name + ", " + DescribeParameters(before) + "\n");
    CAUUID pages{};
    Check(Query<ISpecifyPropertyPages>(encoder.filter, "the encoder lacks ISpecifyPropertyPages")
              ->GetPages(&pages),
          "cannot list the encoder's property pages");
    const std::unique_ptr<GUID, TaskMemoryFree> owner(pages.pElems);
    IUnknown* object = encoder.filter.Get();
    Check(OleCreatePropertyFrame(nullptr, 0, 0, Wide(encoder.name).c_str(), 1, &object,
                                 pages.cElems, pages.pElems, LOCALE_USER_DEFAULT, 0, nullptr),
          "cannot show the property frame");
    const EncodeParameterBlock after = LiveParameters(encoder);
    if (DescribeParameters(after) != DescribeParameters(before)) {
        Print("now " + DescribeParameters(after) + "\n");
    } else {
        Print(std::string("nothing was changed") +
              (IsWine() ? "; Wine's property frame does not apply changes\n" : "\n"));
    }
    return ExitCode::kOk;
}

}  // namespace

void AddPropertiesCommand(CLI::App& app, Action& action) {
    AddCommand(app, action, "properties",
               "Show the encoder's property page, as an application does", ShowPages,
               COINIT_APARTMENTTHREADED);
}

}  // namespace nyx::host
