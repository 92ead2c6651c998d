#pragma once
#include "Bridge/BackendDouble.h"
#include "Bridge/BookmarkStore.h"
#include "Bridge/BridgeService.h"
#include "Bridge/DocumentReaderScript.h"
#include "Bridge/FileIndexScript.h"
#include "backend/APIConfig.h"
#include "fakes/AutomationToolFake.h"
#include "fakes/FileSystemFake.h"
#include "fakes/FileTypesFake.h"
#include "fakes/FolderBookmarksFake.h"
#include "fakes/KeyValueStoreFake.h"
#include "fakes/PhotoLibraryFake.h"
#include "fakes/SystemMemoryFake.h"
#include "fakes/TextRecognizerFake.h"
#include "fakes/ThumbnailerFake.h"
#include "fakes/WorkspaceFake.h"
#include "support/TestClock.h"

namespace vennic::test {

class BridgeContextFake final : public BridgeContext {
public:
    bool bridgeEnabled() const override { return enabled; }
    LocalLLMSettings localLLM() const override { return localModel; }
    QString localLLMDeviceNickname() const override { return nickname; }
    QString bridgeDeviceId() override { return deviceId; }
    std::optional<double> mainScreenScale() const override { return screenScale; }

    bool enabled = true;
    LocalLLMSettings localModel{.enabled = true,
                                .endpoint = QStringLiteral("http://localhost:8080/v1"),
                                .model = QStringLiteral("Qwen/Qwen3-14B-MLX-4bit")};
    QString nickname = QStringLiteral("Mac de Marie");
    QString deviceId = QStringLiteral("3F2504E0-4F89-41D3-9A0C-0305E82C3301");
    std::optional<double> screenScale;
};

class HeartbeatSourceFake final : public HeartbeatSource {
public:
    Task<std::optional<QByteArray>> encodedHeartbeat() override {
        if (fails)
            throw LocalizedError(QStringLiteral("rien à dire"));
        co_return record;
    }
    std::optional<QByteArray> record;
    bool fails = false;
};

/// A bridge among fakes, with everything that it touches within reach of the test.
struct BridgeWorld {
    BackendDouble backend;
    KeyValueStoreFake store;
    std::shared_ptr<FolderBookmarksFake> bookmarks = std::make_shared<FolderBookmarksFake>();
    std::shared_ptr<FileSystemFake> files = std::make_shared<FileSystemFake>();
    std::shared_ptr<FileTypesFake> types = std::make_shared<FileTypesFake>();
    std::shared_ptr<DocumentReaderScript> reader = std::make_shared<DocumentReaderScript>();
    std::shared_ptr<PhotoLibraryFake> photos = std::make_shared<PhotoLibraryFake>();
    std::shared_ptr<WorkspaceFake> workspace = std::make_shared<WorkspaceFake>();
    std::shared_ptr<AutomationToolFake> automations = std::make_shared<AutomationToolFake>();
    std::shared_ptr<ThumbnailerFake> thumbnailer = std::make_shared<ThumbnailerFake>();
    std::shared_ptr<TextRecognizerFake> recognizer = std::make_shared<TextRecognizerFake>();
    FileIndexScript index;
    TestClock clock;
    BridgeContextFake context;
    HeartbeatSourceFake heartbeat;
    APIConfig config{store, Deployment{.backendUrl = QStringLiteral("https://vennic.example"),
                                       .backendDomain = QStringLiteral("vennic.example"),
                                       .apiHost = QStringLiteral("vennic.example"),
                                       .pairingPage = {},
                                       .packageManagerSite = {}}};
    VennicHTTP http{backend, QStringLiteral("vennic.example"), nullptr};
    SystemMemoryFake memory;
    LocalLLMTelemetry telemetry{http, memory, clock};
    BookmarkStore grants{store, *bookmarks, *files, clock};
    BridgeService::Surroundings surroundings{
        .http = http,
        .config = config,
        .clock = clock,
        .context = context,
        .heartbeat = &heartbeat,
        .telemetry = telemetry,
        .store = store,
        .index = index,
        .bookmarks = bookmarks,
        .files = files,
        .types = types,
        .reader = reader,
        .photos = photos,
        .workspace = workspace,
        .automations = automations,
        .thumbnailer = thumbnailer,
        .recognizer = recognizer,
    };
    std::unique_ptr<BridgeService> service = std::make_unique<BridgeService>(surroundings);

    BookmarkEntry share(const QString& path) {
        files->addFolder(path);
        return grants.add(FileURL{path});
    }
    APIService api() const { return APIService(const_cast<VennicHTTP&>(http), config, SecretText("token"), {}); }
};

inline QByteArray taskJson(const char* kind, const QByteArray& args = "{}", const QByteArray& id = "t1") {
    return QByteArray(R"({"id":")") + id + R"(","kind":")" + kind + R"(","args":)" + args + "}";
}

} // namespace vennic::test
