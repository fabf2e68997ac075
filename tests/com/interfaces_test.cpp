#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/loaded_module.h"

namespace nyx::test {
namespace {

class Interfaces : public FilterTest {
  protected:
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(Interfaces);

/// What `object` answers to, and what it does not.
void ExpectInterfaces(IUnknown* object, const std::vector<IID>& present,
                      const std::vector<IID>& absent) {
    for (const IID& iid : present) {
        ComPtr<IUnknown> found;
        EXPECT_EQ(object->QueryInterface(iid, found.PutVoid()), S_OK);
        EXPECT_TRUE(found);
    }
    for (const IID& iid : absent) {
        void* found = &found;
        EXPECT_EQ(object->QueryInterface(iid, &found), E_NOINTERFACE);
        EXPECT_EQ(found, nullptr);
    }
}

TEST_P(Interfaces, AreThoseOfAFilterAndItsPinsAndNoOthers) {
    ExpectInterfaces(
        rig.filter.get(), {IID_IUnknown, IID_IPersist, IID_IMediaFilter, IID_IBaseFilter},
        {IID_IMediaSeeking, IID_IMediaPosition, IID_IQualityControl, IID_IAMFilterMiscFlags,
         IID_IPropertyBag, IID_IPersistPropertyBag, IID_IPin, IID_IMemInputPin, IID_IVideoWindow,
         IID_IBasicVideo, IID_IReferenceClock, IID_IClassFactory});
    ExpectInterfaces(rig.input.get(),
                     {IID_IUnknown, IID_IPin, IID_IMemInputPin, IID_IQualityControl},
                     {IID_IMediaSeeking, IID_IMediaPosition, IID_IBaseFilter,
                      IID_IAMFilterMiscFlags, IID_IKsPropertySet, IID_IVideoWindow});
    ExpectInterfaces(
        rig.output.get(),
        {IID_IUnknown, IID_IPin, IID_IQualityControl, IID_IMediaSeeking, IID_IMediaPosition},
        {IID_IMemInputPin, IID_IBaseFilter, IID_IAMFilterMiscFlags, IID_IKsPropertySet,
         IID_IVideoWindow});
}

TEST_P(Interfaces, SeekingAndPositionOnTheOutputReachTheSource) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    const auto seeking = rig.output.As<IMediaSeeking>();
    ASSERT_TRUE(seeking);
    LONGLONG duration = 0;
    EXPECT_EQ(seeking->GetDuration(&duration), S_OK);
    EXPECT_EQ(duration, TestSourcePin::kDuration);
    EXPECT_EQ(seeking.As<IPin>().get(), rig.output.get()) << "one object with the pin";

    ComPtr<IMediaPosition> position;
    ASSERT_EQ(rig.output->QueryInterface(IID_IMediaPosition, position.PutVoid()), S_OK);
    REFTIME seconds = 0;
    position->get_Duration(&seconds);
    EXPECT_GT(rig.source->out.positionQueries, 0);
}

TEST_P(Interfaces, EveryInterfaceOfAnObjectHasTheSameIdentity) {
    const auto identity = rig.filter.As<IUnknown>();
    EXPECT_EQ(rig.filter.As<IPersist>().As<IUnknown>().get(), identity.get());
    EXPECT_EQ(rig.filter.As<IMediaFilter>().As<IUnknown>().get(), identity.get());

    const auto inputIdentity = rig.input.As<IUnknown>();
    EXPECT_EQ(rig.transport.As<IUnknown>().get(), inputIdentity.get());
    EXPECT_EQ(rig.input.As<IQualityControl>().As<IUnknown>().get(), inputIdentity.get());
    EXPECT_NE(inputIdentity.get(), identity.get());

    EXPECT_EQ(rig.output.As<IQualityControl>().As<IUnknown>().get(),
              rig.output.As<IUnknown>().get());
}

TEST_P(Interfaces, PinsShareTheReferenceCountOfTheirFilter) {
    const ULONG before = rig.filter->AddRef();
    EXPECT_EQ(rig.input->AddRef(), before + 1);
    EXPECT_EQ(rig.output->AddRef(), before + 2);
    EXPECT_EQ(rig.transport->AddRef(), before + 3);
    EXPECT_EQ(rig.transport->Release(), before + 2);
    EXPECT_EQ(rig.output->Release(), before + 1);
    EXPECT_EQ(rig.input->Release(), before);
    EXPECT_EQ(rig.filter->Release(), before - 1);
}

TEST_P(Interfaces, APinKeepsItsFilterAlive) {
    ComPtr<IPin> pin;
    {
        const auto filter = Module().CreateFilter(row().clsid);
        ASSERT_EQ(filter->FindPin(L"Out", pin.Put()), S_OK);
    }
    PIN_INFO info{};
    ASSERT_EQ(pin->QueryPinInfo(&info), S_OK);
    const auto filter = ComPtr<IBaseFilter>::Adopt(info.pFilter);
    FILTER_STATE state = State_Running;
    EXPECT_EQ(filter->GetState(0, &state), S_OK);
    EXPECT_EQ(state, State_Stopped);
}

TEST_P(Interfaces, TheFilterReportsItsClassGraphAndName) {
    CLSID clsid{};
    EXPECT_EQ(rig.filter->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, row().clsid);
    EXPECT_EQ(rig.graph->References(), 1u) << "a filter does not keep its graph alive";
    FILTER_INFO info{};
    ASSERT_EQ(rig.filter->QueryFilterInfo(&info), S_OK);
    EXPECT_STREQ(info.achName, FilterRig::kNameInGraph);
    EXPECT_EQ(info.pGraph, static_cast<IFilterGraph*>(rig.graph.get()));
    info.pGraph->Release();
    const std::wstring longName(500, L'x');
    ASSERT_EQ(rig.filter->JoinFilterGraph(nullptr, longName.c_str()), S_OK);
    ASSERT_EQ(rig.filter->QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(info.achName, longName.substr(0, MAX_FILTER_NAME - 1)) << "what the record holds";
    EXPECT_EQ(info.pGraph, nullptr);
}

TEST_P(Interfaces, TheFactoryServesIUnknownAndIClassFactoryOnly) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(Module().GetClassObject(row().clsid, IID_IUnknown, object.PutVoid()), S_OK);
    EXPECT_EQ(Module().GetClassObject(row().clsid, IID_IBaseFilter, object.PutVoid()),
              E_NOINTERFACE);
    EXPECT_FALSE(object);
    EXPECT_EQ(Module().GetClassObject(row().clsid, IID_IClassFactory, nullptr), E_POINTER);
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(Module().GetClassObject(row().clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IBaseFilter, nullptr), E_POINTER);
    EXPECT_EQ(factory->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IVideoWindow, object.PutVoid()), E_NOINTERFACE);
    EXPECT_FALSE(object);
}

using ModuleEntries = ComTest;

TEST_F(ModuleEntries, AnUnknownClassIsNotAvailable) {
    void* object = &object;
    const CLSID unknown = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    EXPECT_EQ(Module().GetClassObject(unknown, IID_IClassFactory, &object),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
}

TEST_F(ModuleEntries, LiveObjectsFactoriesAndServerLocksKeepTheModuleLoaded) {
    const EngineSearch engines;
    const CLSID clsid = CatalogueUnderTest().front().clsid;
    ASSERT_EQ(Module().CanUnloadNow(), S_OK);
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(Module().GetClassObject(clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
    EXPECT_EQ(Module().CanUnloadNow(), S_FALSE) << "a factory is alive";
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    factory.Reset();
    EXPECT_EQ(Module().CanUnloadNow(), S_FALSE) << "the server is locked";
    ASSERT_EQ(Module().GetClassObject(clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory.Reset();
    EXPECT_EQ(Module().CanUnloadNow(), S_OK);
    auto filter = Module().CreateFilter(clsid);
    EXPECT_EQ(Module().CanUnloadNow(), S_FALSE) << "a filter is alive";
    EXPECT_EQ(filter.Reset(), 0u);
    EXPECT_EQ(Module().CanUnloadNow(), S_OK);
}

}  // namespace
}  // namespace nyx::test
