#include "linux_index/FileIndexContract.h"

#include "fakes/FileIndexFake.h"
#include "linux_index/IndexedFolder.h"

namespace {

using namespace vennic;
using namespace vennic::test;

class FakeWorld final : public FileIndexWorld {
public:
    FileIndex& index() override { return fake_; }
    QString folder() const override { return QStringLiteral("/partage"); }
    void write(const QString& relativePath, const QString& text, qint64 changedAt) override {
        fake_.files.push_back({folder() + u'/' + relativePath, text, QStringLiteral("public.plain-text"), text.size(),
                               QDateTime::fromSecsSinceEpoch(changedAt, Qt::UTC)});
    }
    void settle() override {}

private:
    FileIndexFake fake_;
};

INSTANTIATE_TEST_SUITE_P(FileIndex, FileIndexContract,
                         ::testing::Values(FileIndexContractCase{"fake", [] { return std::make_unique<FakeWorld>(); }},
                                           FileIndexContractCase{
                                               "segments",
                                               [] { return std::make_unique<vennic::index::test::IndexedFolder>(); }}),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
