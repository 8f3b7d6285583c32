// List observers: which changes reach them, with which reasons, on which
// thread, and when they stop being called.

#include "SdkTestSupport.h"

#include <set>

using namespace SdkTest;

namespace {

class ObserverTest : public FakeSession
{
protected:
    void SetUp() override
    {
        recorder = std::make_shared<Recorder>();
        ASSERT_EQ(HvErrorSuccess, system().RegisterCameraListObserver(recorder));
        ASSERT_EQ(HvErrorSuccess, system().RegisterInterfaceListObserver(recorder));
        FakeSession::SetUp();
    }
    void TearDown() override
    {
        FakeSession::TearDown();
        system().UnregisterCameraListObserver(recorder);
        system().UnregisterInterfaceListObserver(recorder);
    }

    std::shared_ptr<Recorder> recorder;
};

} // namespace

TEST_F(ObserverTest, HotPlugReasonsOnTheNotificationThread)
{
    // Cameras present at start-up do not arrive: nothing precedes the first
    // change. Reported by the module from another thread, or seen by a
    // caller of GetCameras before any report: one event each all the same.
    std::thread::id moduleThread;
    std::thread module([&] {
        moduleThread = std::this_thread::get_id();
        hooks.plug("CAM-NEW-3", true);
        hooks.unplug("CAM-NEW-3", true);
    });
    module.join();
    hooks.plug("CAM-QUIET-4", false);
    unsigned int count = 0;
    ASSERT_EQ(HvErrorSuccess, system().GetCameras(nullptr, count));
    EXPECT_EQ(3u, count);
    hooks.unplug("CAM-QUIET-4", true); // reported after GetCameras saw it

    const Hvx::CameraPtr camera = Camera("fake::CAM-GEV-1");
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));
    ASSERT_EQ(HvErrorSuccess, camera->Close());

    const auto events = recorder->WaitFor(6);
    EXPECT_EQ((Expected{{"fake::CAM-NEW-3", 0},
                        {"fake::CAM-NEW-3", 1},
                        {"fake::CAM-QUIET-4", 0},
                        {"fake::CAM-QUIET-4", 1},
                        {"fake::CAM-GEV-1", 3},
                        {"fake::CAM-GEV-1", 3}}),
              Summary(events));
    std::set<std::thread::id> threads;
    for (const auto& event : events)
        threads.insert(event.thread);
    EXPECT_EQ(1u, threads.size());
    EXPECT_EQ(0u, threads.count(std::this_thread::get_id()));
    EXPECT_EQ(0u, threads.count(moduleThread));
}

TEST_F(ObserverTest, ACameraThatLeftKeepsItsIdentityAndComesBackAsTheSameObject)
{
    const Hvx::CameraPtr before = Camera("fake::CAM-GEV-1");
    hooks.unplug("CAM-GEV-1", true);
    recorder->WaitFor(1);
    Hvx::CameraPtr missing;
    EXPECT_EQ(HvErrorNotFound, system().GetCameraByID("fake::CAM-GEV-1", missing));
    EXPECT_EQ("fake::CAM-GEV-1", ExtendedId(before));
    EXPECT_EQ("Left eye", Text([&](char* b, unsigned int& l) { return before->GetName(b, l); }));
    EXPECT_EQ(HvErrorNotFound, before->Open(HvAccessModeFull));

    hooks.plug("CAM-GEV-1", true);
    EXPECT_EQ((Expected{{"fake::CAM-GEV-1", 1}, {"fake::CAM-GEV-1", 0}}),
              Summary(recorder->WaitFor(2)));
    EXPECT_EQ(before, Camera("fake::CAM-GEV-1"));
    // Its details are the ones reported on return.
    EXPECT_EQ("Plugged CAM-GEV-1",
              Text([&](char* b, unsigned int& l) { return before->GetName(b, l); }));
}

TEST_F(ObserverTest, ChangedAccessIsReasonTwoAndFailedOpensAreNoChange)
{
    const Hvx::CameraPtr busy = Camera("CAM-U3V-2");
    EXPECT_EQ(HvErrorInvalidAccess, busy->Open(HvAccessModeFull));
    EXPECT_EQ(HvErrorDeviceNotOpen, busy->Close());
    hooks.setAccess("CAM-U3V-2", HvAccessModeFull);
    EXPECT_EQ((Expected{{"fake::CAM-U3V-2", 2}}), Summary(recorder->WaitFor(1)));
    EXPECT_EQ(HvErrorSuccess, Camera("CAM-U3V-2")->Open(HvAccessModeFull));
    // The same report again is no change.
    hooks.setAccess("CAM-U3V-2", HvAccessModeFull);
    hooks.plug("CAM-MARK-5", true);
    EXPECT_EQ((Expected{{"fake::CAM-U3V-2", 2}, {"fake::CAM-U3V-2", 3}, {"fake::CAM-MARK-5", 0}}),
              Summary(recorder->WaitFor(3)));
}

TEST_F(ObserverTest, UnregisteredObserversHearNothingMore)
{
    auto second = std::make_shared<Recorder>();
    ASSERT_EQ(HvErrorSuccess, system().RegisterCameraListObserver(second));
    hooks.plug("CAM-A", true);
    second->WaitFor(1);
    ASSERT_EQ(HvErrorSuccess, system().UnregisterCameraListObserver(second));
    hooks.plug("CAM-B", true);
    recorder->WaitFor(2);
    EXPECT_EQ((Expected{{"fake::CAM-A", 0}}), Summary(second->Events()));
    EXPECT_EQ((Expected{{"fake::CAM-A", 0}, {"fake::CAM-B", 0}}), Summary(recorder->Events()));
}

TEST_F(ObserverTest, RegistrationErrors)
{
    EXPECT_EQ(HvErrorInvalidCall, system().RegisterCameraListObserver(recorder));
    EXPECT_EQ(HvErrorInvalidCall, system().RegisterInterfaceListObserver(recorder));
    auto stranger = std::make_shared<Recorder>();
    EXPECT_EQ(HvErrorNotFound, system().UnregisterCameraListObserver(stranger));
    EXPECT_EQ(HvErrorBadParameter, system().RegisterCameraListObserver(nullptr));
}

namespace {

// Calls back into the SDK from the notification thread, and unregisters
// itself there on the first call.
class SelfRemover : public Hvx::ICameraListObserver
{
public:
    void CameraListChanged(Hvx::CameraPtr camera, Hvx::UpdateTriggerType) override
    {
        std::lock_guard<std::mutex> lock(mutex);
        ++calls;
        Hvx::CameraPtr found;
        lookup = Hvx::HvSystem::GetInstance().GetCameraByID(ExtendedId(camera).c_str(), found);
        unregister = Hvx::HvSystem::GetInstance().UnregisterCameraListObserver(self.lock());
    }
    std::weak_ptr<SelfRemover> self;
    std::mutex mutex;
    int calls = 0;
    HvErrorType lookup = 1;
    HvErrorType unregister = 1;
};

} // namespace

TEST_F(ObserverTest, CallbacksMayCallTheSdkAndUnregisterThemselves)
{
    auto remover = std::make_shared<SelfRemover>();
    remover->self = remover;
    ASSERT_EQ(HvErrorSuccess, system().RegisterCameraListObserver(remover));
    hooks.plug("CAM-A", true);
    hooks.plug("CAM-B", true);
    recorder->WaitFor(2);
    std::lock_guard<std::mutex> lock(remover->mutex);
    EXPECT_EQ(1, remover->calls);
    EXPECT_EQ(HvErrorSuccess, remover->lookup);
    EXPECT_EQ(HvErrorSuccess, remover->unregister);
}

TEST_F(ObserverTest, ObserversStayRegisteredAcrossARestart)
{
    system().Shutdown();
    ASSERT_EQ(HvErrorSuccess, system().Startup());
    hooks = FakeHooks::Of(std::string(FAKE_TL_DIR) + "/fake_tl.so");
    ASSERT_TRUE(hooks.Valid());
    hooks.plug("CAM-AFTER", true);
    EXPECT_EQ((Expected{{"fake::CAM-AFTER", 0}}), Summary(recorder->WaitFor(1)));
}
