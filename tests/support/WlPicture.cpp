#include "support/WlPicture.h"

#include <gtest/gtest.h>

#include <QString>
#include <cstdlib>
#include <stdexcept>

#include "support/TemporaryFolder.h"

namespace vesk::testing {
namespace {

void keep(const QImage& picture) {
  const char* const folder = std::getenv("VESK_WAYLAND_PICTURES");
  if (folder == nullptr) return;
  static int number = 0;
  const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
  const QString name = QString(test->name()).replace(QChar(0x2f), QChar(0x2d));
  picture.save(QString("%1/%2-%3.png").arg(folder, name).arg(++number));
}

}  // namespace

QImage wlPicture(const std::string& output) {
  const TemporaryFolder folder;
  const auto file = (folder.path() / "picture.png").string();
  const std::string command = "grim -o " + output + " -l 0 " + file;
  QImage picture;
  if (std::system(command.c_str()) != 0 || !picture.load(QString::fromStdString(file)))
    throw std::runtime_error("no picture; is grim installed?");
  picture = picture.convertToFormat(QImage::Format_RGB32);
  keep(picture);
  return picture;
}

}  // namespace vesk::testing
