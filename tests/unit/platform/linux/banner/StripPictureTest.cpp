#include "platform/linux/banner/StripPicture.h"

#include <gtest/gtest.h>

#include <QFontMetricsF>
#include <QGuiApplication>
#include <algorithm>
#include <chrono>
#include <cmath>

#include "support/Patience.h"
#include "support/TestApplication.h"

namespace vesk::banner::VESK_FILE {
namespace {

constexpr int width = 560;
constexpr int height = 26;
constexpr Rect labelFrame{{8, 4}, 544, 18};
const QString sentence = "Ada Lovelace is viewing this screen";

class StripPictureTest : public ::testing::Test {
 protected:
  static QImage paint(const QString& text, double fontSize = 13, bool semibold = true) {
    const StripPicture strip{.frame = {0, 0, width, height},
                             .background = {0.8, 0.05, 0.05, 1},
                             .bottomCornerRadius = 6,
                             .label = OverlayLabel{labelFrame, fontSize, semibold},
                             .text = text.toStdString()};
    return strip.paint();
  }

  /// The part of the picture that the letters take up.
  static QRect inkIn(const QImage& picture) {
    QRect ink;
    for (int y = 0; y < picture.height(); ++y) {
      for (int x = 0; x < picture.width(); ++x) {
        if (qGreen(picture.pixel(x, y)) > 100) ink |= QRect(x, y, 1, 1);
      }
    }
    return ink;
  }

  static QFont font(int size, QFont::Weight weight) {
    QFont font = QGuiApplication::font();
    font.setPixelSize(size);
    font.setWeight(weight);
    return font;
  }

  static double widthOf(const QFont& font) {
    return QFontMetricsF(font).tightBoundingRect(sentence).width();
  }

  testing::TestApplication application_;
};

TEST_F(StripPictureTest, WritesInTheSizeAndTheWeightThatItWasGiven) {
  const auto expected = [](int size, QFont::Weight weight) { return widthOf(font(size, weight)); };
  // Where they could not be told apart, nothing would be proven.
  constexpr double apart = 5;
  ASSERT_GT(expected(13, QFont::DemiBold), expected(13, QFont::Normal) + apart);
  ASSERT_GT(expected(14, QFont::DemiBold), expected(13, QFont::DemiBold) + apart);
  constexpr double near = 2.5;
  EXPECT_NEAR(inkIn(paint(sentence)).width(), expected(13, QFont::DemiBold), near);
  EXPECT_NEAR(inkIn(paint(sentence, 14)).width(), expected(14, QFont::DemiBold), near);
  EXPECT_NEAR(inkIn(paint(sentence, 13, /*semibold=*/false)).width(), expected(13, QFont::Normal),
              near);
}

TEST_F(StripPictureTest, WritesInTheMiddleOfTheLabel) {
  const QRect ink = inkIn(paint(sentence));
  EXPECT_NEAR(ink.left() - labelFrame.origin.x,
              labelFrame.origin.x + labelFrame.width - ink.right() - 1, 2);
  EXPECT_GE(ink.top(), 4);
  EXPECT_LT(ink.bottom(), 22);
}

TEST_F(StripPictureTest, TakesTheMiddleOutOfATextThatIsTooLong) {
  const QString name = "From the beginning " + QString("of a name to ").repeated(30);
  const QFontMetricsF metrics(font(13, QFont::DemiBold));
  const QString shown = metrics.elidedText(name + sentence, Qt::ElideMiddle, labelFrame.width);
  ASSERT_TRUE(shown.endsWith("is viewing this screen"));
  EXPECT_EQ(paint(name + sentence), paint(shown));
  EXPECT_EQ(paint(QString(100'000, 'W') + sentence), paint(QString(500, 'W') + sentence));
}

TEST_F(StripPictureTest, RoundsTheLowerCorners) {
  const QImage picture = paint("");
  constexpr double radius = 6;
  for (int y = 0; y < height; ++y) {
    const double down = std::max(0.0, y + 0.5 - (height - radius));
    const double inset = radius - std::sqrt(radius * radius - down * down);
    double left = 0;
    double right = 0;
    for (int x = 0; x < width / 2; ++x) {
      left += 1 - qAlpha(picture.pixel(x, y)) / 255.0;
      right += 1 - qAlpha(picture.pixel(width - 1 - x, y)) / 255.0;
    }
    EXPECT_NEAR(left, inset, 0.3) << "row " << y;
    EXPECT_NEAR(right, inset, 0.3) << "row " << y;
  }
}

/// Put together they are as one: what one shows of a pixel, the other leaves out.
TEST_F(StripPictureTest, LeavesRoomForATabInAnEdge) {
  constexpr Colour opaque{0.8, 0.05, 0.05, 1};
  const PixelRect edge{0, 10, 1000, 40};
  const QImage strip = paint("");
  const QImage picture = edgePicture(edge, opaque, {{{200, 10, width, height}, 6}});
  for (int y = 0; y < edge.height; ++y) {
    for (int x = 0; x < edge.width; ++x) {
      const bool inStrip = x >= 200 && x < 200 + width && y < height;
      const int covered = inStrip ? qAlpha(strip.pixel(x - 200, y)) : 0;
      ASSERT_NEAR(qAlpha(picture.pixel(x, y)), 255 - covered, 1) << x << "," << y;
    }
  }
  constexpr QRgb plain = 0xffcc0d0d;
  EXPECT_EQ(picture.pixel(100, 20), plain);
  EXPECT_EQ(picture.pixel(400, 35), plain);
  const Colour translucent{0.8, 0.05, 0.05, 0.6};
  EXPECT_EQ(qAlpha(edgePicture(edge, translucent, {}).pixel(400, 5)), 153);
}

/// The work of laying them out grows with the square of their number.
TEST_F(StripPictureTest, IsPaintedInTimeWhateverIsPiledUp) {
  const auto start = std::chrono::steady_clock::now();
  for (const char16_t piled : {u'\u0301', u'\u0489', u'\u200d', u'\u05b0', u'\u202e', u'W'}) {
    EXPECT_FALSE(inkIn(paint("A" + QString(150'000, QChar(piled)) + sentence)).isEmpty());
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start,
            std::chrono::milliseconds(testing::patience() / 10));
}

}  // namespace
}  // namespace vesk::banner::VESK_FILE
