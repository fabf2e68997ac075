#include <algorithm>
#include <optional>

#include "platform/fourcc.h"
#include "tests/com/registration_fixture.h"
#include "tests/support/filter_mapper.h"
#include "tests/support/filter_rig.h"
#include "tests/support/module_classes.h"
#include "tests/support/narrow.h"
#include "tests/support/registry_snapshot.h"
#include "tests/support/temporary_folder.h"

namespace nyx::test {
namespace {

std::wstring ClassKey(const CLSID& clsid) {
    wchar_t text[40] = {};
    StringFromGUID2(clsid, text, 40);
    return std::wstring(L"CLSID\\") + text;
}

/// A text value of the merged classes; nothing when the key or the value is missing.
std::optional<std::wstring> ClassValue(const std::wstring& key, const wchar_t* name) {
    wchar_t text[1024] = {};
    DWORD size = sizeof(text);
    if (RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    return text;
}

using Registration = RegistrationTest;

TEST_F(Registration, WritesTheServerKeysOfEveryClass) {
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    for (const ModuleClass& entry : ModuleClasses()) {
        const std::wstring key = ClassKey(entry.clsid);
        EXPECT_EQ(ClassValue(key, nullptr), entry.name);
        EXPECT_EQ(ClassValue(key + L"\\InprocServer32", nullptr), ModulePath());
        EXPECT_EQ(ClassValue(key + L"\\InprocServer32", L"ThreadingModel"), L"Both");
    }
}

TEST_F(Registration, EveryFilterIsFoundWithNameAndMeritAndTheCompressorInItsCategoryToo) {
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    for (const ModuleClass& entry : ModuleClasses()) {
        SCOPED_TRACE(Narrow(entry.name));
        for (const CLSID& category :
             {CLSID_LegacyAmFilterCategory, CLSID_VideoCompressorCategory}) {
            const bool compressors = category == CLSID_VideoCompressorCategory;
            const auto filter = FilterInCategory(category, entry.clsid);
            ASSERT_EQ(filter.has_value(), compressors ? entry.isCompressor : entry.isFilter);
            if (filter) {
                EXPECT_EQ(filter->name, entry.name);
                EXPECT_EQ(filter->merit, entry.merit);
            }
        }
    }
}

TEST_F(Registration, TheMapperProposesAFilterForItsStreamsAndNoOther) {
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    for (const ModuleClass& entry : ModuleClasses()) {
        const DWORD merit = std::min<DWORD>(entry.merit, MERIT_NORMAL);
        const GUID made = entry.isCompressor ? FourCCSubtype(FourCC("QZTA")) : MEDIASUBTYPE_RGB24;
        for (const GUID& subtype : entry.inputSubtypes) {
            EXPECT_TRUE(MapperFinds(entry.clsid, subtype, made, merit)) << Narrow(entry.name);
            // Decoders are entered for any output: which ones they have is for them to say.
            EXPECT_EQ(MapperFinds(entry.clsid, subtype, MEDIASUBTYPE_MJPG, merit),
                      !entry.isCompressor)
                << Narrow(entry.name);
        }
        EXPECT_FALSE(MapperFinds(entry.clsid, MEDIASUBTYPE_MJPG, made, merit))
            << Narrow(entry.name);
    }
}

TEST_F(Registration, AGraphPutsTheDecoderBetweenSourceAndSinkByItself) {
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    const EngineSearch engines;
    for (const FilterUnderTest& row : DecodersUnderTest()) {
        const auto source = MakeCom<TestSource>();
        const auto sink = MakeCom<TestSink>();
        source->out.proposals = {row.InputType()};
        sink->in.accept = [&](const MediaType& type) {
            return type->subtype == row.outputs[0].subtype ? S_OK : S_FALSE;
        };
        ComPtr<IGraphBuilder> builder;
        ASSERT_EQ(CoCreateInstance(CLSID_FilterGraphNoThread, nullptr, CLSCTX_INPROC_SERVER,
                                   IID_IGraphBuilder, builder.PutVoid()),
                  S_OK);
        builder->AddFilter(source.get(), L"source");
        builder->AddFilter(sink.get(), L"sink");
        ASSERT_EQ(builder->Connect(source->pin(), sink->pin()), S_OK) << row.name;
        PIN_INFO info{};
        ASSERT_EQ(source->out.peer()->QueryPinInfo(&info), S_OK);
        CLSID clsid{};
        EXPECT_EQ(ComPtr<IBaseFilter>::Adopt(info.pFilter)->GetClassID(&clsid), S_OK);
        EXPECT_EQ(clsid, row.clsid);
    }
}

TEST_F(Registration, RegisteringTwiceIsRegisteringOnce) {
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    const RegistrySnapshot once = SnapshotOfClasses();
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    EXPECT_EQ(Difference(once, SnapshotOfClasses()), "");
}

TEST_F(Registration, UnregisteringLeavesTheRegistryAsItWasBefore) {
    const RegistrySnapshot before = SnapshotOfSoftware();
    ASSERT_FALSE(before.empty());
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    ASSERT_EQ(Module().UnregisterServer(), S_OK);
    EXPECT_EQ(Difference(before, SnapshotOfSoftware()), "");
}

TEST_F(Registration, TheSystemsRegistrationToolDoesTheSame) {
    const RegistrySnapshot before = SnapshotOfClasses();
    ASSERT_EQ(RunProgram(L"regsvr32 /s \"" + ModulePath() + L"\""), 0);
    const RegistrySnapshot byTool = SnapshotOfClasses();
    EXPECT_NE(Difference(before, byTool), "");
    ASSERT_EQ(RunProgram(L"regsvr32 /u /s \"" + ModulePath() + L"\""), 0);
    EXPECT_EQ(Difference(before, SnapshotOfClasses()), "");
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    EXPECT_EQ(Difference(byTool, SnapshotOfClasses()), "");
}

TEST_F(Registration, AFolderNamedInAnyScriptIsRegisteredAsItIs) {
    const TemporaryFolder folder(L"\u03A9\u0436\u65E5");
    folder.CopyHere(ModulePath(), L"nyxcodecs.dll");
    const std::wstring path = folder.PathOf(L"nyxcodecs.dll");
    const LoadedModule copy(path);
    ASSERT_EQ(copy.RegisterServer(), S_OK);
    const std::wstring key = ClassKey(ModuleClasses().front().clsid) + L"\\InprocServer32";
    EXPECT_EQ(ClassValue(key, nullptr), path);
    EXPECT_EQ(copy.UnregisterServer(), S_OK);
    EXPECT_FALSE(ClassValue(key, nullptr));
}

}  // namespace
}  // namespace nyx::test
