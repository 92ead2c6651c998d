#include "linux/index/MemorySegment.h"
#include "linux/index/SegmentMerge.h"

#include <QTemporaryDir>

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <sstream>

namespace {

using namespace vennic::index;

class SegmentTest : public ::testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.path().toStdString() + '/' + name; }

    /// `documents` with words drawn from few and many, so that rare, common and dense lists arise.
    std::map<std::uint32_t, std::set<std::string>> fill(MemorySegment& memory, std::uint32_t first, int documents) {
        std::map<std::uint32_t, std::set<std::string>> model;
        for (int i = 0; i < documents; ++i) {
            const std::uint32_t id = first + static_cast<std::uint32_t>(i);
            memory.begin({id, id % 3, id * 1000});
            std::set<std::string>& words = model[id];
            words.insert("commun");
            for (unsigned k = random_() % 20; k > 0; --k)
                words.insert("mot" + std::to_string(random_() % 400));
            if (i == documents / 2)
                words.insert("rarissime");
            for (const std::string& word : words)
                memory.addWord(word);
        }
        return model;
    }
    static std::set<std::uint32_t> collect(const Segment& segment, const std::string& piece) {
        Bitmap found(segment.documents());
        segment.collect(piece, found);
        std::set<std::uint32_t> ids;
        found.forEach([&](std::size_t at) { ids.insert(segment.document(at).id); });
        return ids;
    }
    static std::set<std::uint32_t> expected(const std::map<std::uint32_t, std::set<std::string>>& model,
                                            const std::string& piece) {
        std::set<std::uint32_t> ids;
        for (const auto& [id, words] : model) {
            for (const std::string& word : words) {
                if (word.find(piece) != std::string::npos)
                    ids.insert(id);
            }
        }
        return ids;
    }
    static std::string bytesOf(const std::string& path) {
        std::ostringstream out;
        out << std::ifstream(path, std::ios::binary).rdbuf();
        return out.str();
    }
    static void writeBytes(const std::string& path, const std::string& bytes) {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    }

    QTemporaryDir folder_;
    std::mt19937 random_{3};
};

const std::vector<std::string> pieces{"commun", "c", "mot", "mot1", "t39", "rarissime", "m", "absent", "1", "u"};

TEST_F(SegmentTest, answersWhatWasPutIn) {
    for (const int documents : {1, 7, 64, 65, 1000}) {
        MemorySegment memory;
        const auto model = fill(memory, 10, documents);
        const std::string file = path(std::to_string(documents));
        memory.write(file);
        const Segment segment(file);
        EXPECT_TRUE(segment.intact());
        ASSERT_EQ(segment.documents(), static_cast<std::size_t>(documents));
        EXPECT_EQ(segment.document(0).changed, 10000);
        for (const std::string& piece : pieces)
            EXPECT_EQ(collect(segment, piece), expected(model, piece)) << piece;
    }
}

TEST_F(SegmentTest, mergesInStepsAndLeavesOutWhatIsGone) {
    std::map<std::uint32_t, std::set<std::string>> model;
    SegmentMerge::Segments inputs;
    for (std::uint32_t i = 0; i < 5; ++i) {
        MemorySegment memory;
        model.merge(fill(memory, 1000 * i, 300));
        memory.write(path("in" + std::to_string(i)));
        inputs.push_back(std::make_shared<const Segment>(path("in" + std::to_string(i))));
    }
    std::erase_if(model, [](const auto& each) { return each.first % 7 == 0; });
    SegmentMerge merge(inputs, path("out"), [](std::uint32_t id) { return id % 7 != 0; });
    int steps = 0;
    while (!merge.step(std::chrono::steady_clock::now()))
        ++steps;
    merge.finish();
    EXPECT_GT(steps, 1);
    const Segment merged(path("out"));
    EXPECT_TRUE(merged.intact());
    EXPECT_EQ(merged.documents(), model.size());
    for (const std::string& piece : pieces)
        EXPECT_EQ(collect(merged, piece), expected(model, piece)) << piece;
}

TEST_F(SegmentTest, leavesNoFileWhenAMergeIsDropped) {
    MemorySegment memory;
    fill(memory, 0, 50);
    memory.write(path("in"));
    {
        const SegmentMerge merge({std::make_shared<const Segment>(path("in"))}, path("out"), [](auto) { return true; });
    }
    EXPECT_FALSE(std::ifstream(path("out")).good());
}

TEST_F(SegmentTest, isRefusedWhereverItIsCut) {
    MemorySegment memory;
    fill(memory, 0, 40);
    memory.write(path("whole"));
    const std::string bytes = bytesOf(path("whole"));
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        writeBytes(path("cut"), bytes.substr(0, size));
        EXPECT_THROW(Segment(path("cut")), DamagedIndex) << size;
    }
    EXPECT_THROW(Segment(path("missing")), DamagedIndex);
}

TEST_F(SegmentTest, noticesEveryChangedByteAndStaysWithinItsFileMeanwhile) {
    MemorySegment memory;
    fill(memory, 0, 40);
    memory.write(path("whole"));
    const std::string bytes = bytesOf(path("whole"));
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        std::string changed = bytes;
        changed[at] = static_cast<char>(changed[at] ^ (1 << random_() % 8));
        writeBytes(path("changed"), changed);
        bool noticed = false;
        try {
            const Segment segment(path("changed"));
            noticed = !segment.intact();
            for (const std::string& piece : pieces)
                collect(segment, piece);
            SegmentMerge merge({std::make_shared<const Segment>(path("changed"))}, path("out"),
                               [](auto) { return true; });
            merge.step(std::chrono::steady_clock::time_point::max());
        } catch (const DamagedIndex&) {
            noticed = true;
        }
        EXPECT_TRUE(noticed) << at;
    }
}

TEST_F(SegmentTest, keepsMemoryWithinSight) {
    MemorySegment memory;
    const std::size_t before = memory.bytes();
    fill(memory, 0, 500);
    EXPECT_GT(memory.bytes(), before);
    EXPECT_EQ(memory.wordsOf(250).front(), '\n');
    EXPECT_NE(memory.wordsOf(250).find("\nrarissime\n"), std::string::npos);
    memory.clear();
    EXPECT_EQ(memory.documents(), 0u);
    EXPECT_EQ(memory.bytes(), before);
}

} // namespace
