#pragma once
#include "ports/Thumbnailer.h"

#include <gtest/gtest.h>
#include <thread>

namespace vennic::test {

/// A place with files and a thumbnailer of them. Each `add…` makes one file and gives its path.
class ThumbnailerWorld {
public:
    virtual ~ThumbnailerWorld() = default;
    virtual Thumbnailer& thumbnailer() = 0;
    /// A photo of that size in pixels.
    virtual QString addPhoto(int width, int height) = 0;
    /// A file that has no picture.
    virtual QString addText() = 0;
    virtual QString folder() = 0;
    virtual QString missing() = 0;
};

/// What every Thumbnailer promises. `World` is a ThumbnailerWorld that can be made without arguments.
template <class World>
class ThumbnailerContract : public ::testing::Test {
protected:
    World world_;

    std::pair<int, int> sizeOf(const QString& path, int edge, double scale) {
        const auto thumbnail = world_.thumbnailer().thumbnail(path, edge, scale, {});
        EXPECT_TRUE(thumbnail && !thumbnail->png.isEmpty());
        return thumbnail ? std::pair(thumbnail->width, thumbnail->height) : std::pair(0, 0);
    }
};

TYPED_TEST_SUITE_P(ThumbnailerContract);

TYPED_TEST_P(ThumbnailerContract, aPictureFitsASquareOfThatManyPointsAtThatScale) {
    const QString photo = this->world_.addPhoto(400, 300);
    EXPECT_EQ(this->sizeOf(photo, 32, 1.0), std::pair(32, 24));
    EXPECT_EQ(this->sizeOf(photo, 32, 2.0), std::pair(64, 48));
    EXPECT_EQ(this->sizeOf(photo, 100, 1.5), std::pair(150, 113));
    EXPECT_EQ(this->sizeOf(this->world_.addPhoto(300, 400), 32, 2.0), std::pair(48, 64));
}

TYPED_TEST_P(ThumbnailerContract, aSmallPhotoKeepsItsSize) {
    EXPECT_EQ(this->sizeOf(this->world_.addPhoto(40, 30), 128, 2.0), std::pair(40, 30));
}

TYPED_TEST_P(ThumbnailerContract, aLongPhotoKeepsAPixelOfItsShortSide) {
    EXPECT_EQ(this->sizeOf(this->world_.addPhoto(1000, 1), 32, 1.0), std::pair(32, 1));
}

TYPED_TEST_P(ThumbnailerContract, whatHasNoPictureGivesNothing) {
    EXPECT_EQ(this->world_.thumbnailer().thumbnail(this->world_.addText(), 128, 2.0, {}), std::nullopt);
    EXPECT_EQ(this->world_.thumbnailer().thumbnail(this->world_.folder(), 128, 2.0, {}), std::nullopt);
    EXPECT_EQ(this->world_.thumbnailer().thumbnail(this->world_.missing(), 128, 2.0, {}), std::nullopt);
    EXPECT_EQ(this->world_.thumbnailer().thumbnail(QString(), 128, 2.0, {}), std::nullopt);
}

TYPED_TEST_P(ThumbnailerContract, severalThreadsMayAskAtOnce) {
    const QString photo = this->world_.addPhoto(40, 30);
    const auto askOften = [this, photo] {
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(this->sizeOf(photo, 16, 1.0), std::pair(16, 12));
    };
    std::thread one(askOften);
    std::thread two(askOften);
    one.join();
    two.join();
}

REGISTER_TYPED_TEST_SUITE_P(ThumbnailerContract, aPictureFitsASquareOfThatManyPointsAtThatScale,
                            aSmallPhotoKeepsItsSize, aLongPhotoKeepsAPixelOfItsShortSide, whatHasNoPictureGivesNothing,
                            severalThreadsMayAskAtOnce);

} // namespace vennic::test
