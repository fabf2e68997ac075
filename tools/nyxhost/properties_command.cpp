#include <CLI/CLI.hpp>

#include <olectl.h>

#include <exception>
#include <thread>

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

void ShowPages() {
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
}

/// Windows need a thread of a single-threaded apartment.
ExitCode RunProperties() {
    std::exception_ptr thrown;
    std::thread window([&thrown] {
        const ComApartment apartment(COINIT_APARTMENTTHREADED);
        try {
            Check(apartment.Result(), "cannot initialise COM");
            ShowPages();
        } catch (...) {
            thrown = std::current_exception();
        }
    });
    window.join();
    if (thrown != nullptr) {
        std::rethrow_exception(thrown);
    }
    return ExitCode::kOk;
}

}  // namespace

void AddPropertiesCommand(CLI::App& app, Action& action) {
    CLI::App* command = app.add_subcommand(
        "properties", "Show the encoder's property page, as an application does");
    command->callback([&action] {
        SetProcessDPIAware();  // before the first window, so that the page is not scaled
        action = RunProperties;
    });
}

}  // namespace nyx::host
