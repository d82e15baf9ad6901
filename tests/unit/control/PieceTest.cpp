#include "live/Piece.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>

#include "picture/PngFile.h"
#include "support/ScriptedDesktop.h"

namespace quillmark::live {
namespace {

using test::RectAt;

class PieceTest : public testing::Test {
 protected:
  PieceTest() {
    desktop->AddMonitor({.rect = RectAt(0, 0, 640, 480)});
    desktop->AddMonitor({.rect = RectAt(-640, -100, 640, 480), .dpi = 192});
    desktop->SetProcessImage(1, L"/usr/bin/sheet.exe");
    desktop->SetProcessImage(2, L"/usr/bin/a-program-with-a-long-name.exe");
  }

  static std::wstring TargetOf(const Rect& picked) { return CutPiece({.picked = picked}).target; }
  static std::string Refusal(const PieceChoice& choice) {
    try {
      (void)CutPiece(choice);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return {};
  }

  const std::shared_ptr<test::ScriptedDesktop> desktop = test::ScriptedDesktop::Install();
};

TEST_F(PieceTest, StretchedWindowGivesAnAreaAtTemplateScale) {
  desktop->OpenWindow({.title = L"sheet",
                       .client = RectAt(-600, 0, 400, 200),
                       .processId = 1,
                       .awareness = DPI_AWARENESS_UNAWARE,
                       .dpi = 192});
  // Two by two pixels of the desktop for each of the window's.
  cv::Mat small(100, 200, CV_8UC3);
  cv::randu(small, 0, 256);
  cv::Mat shown;
  cv::resize(small, shown, {}, 2.0, 2.0, cv::INTER_NEAREST);
  desktop->Paint(shown, {-600, 0});

  const Piece piece = CutPiece({.target = L"sheet", .rect = cv::Rect(20, 30, 50, 40)});
  EXPECT_EQ(piece.scale, 2.0);
  EXPECT_EQ(piece.client, cv::Size(200, 100));
  EXPECT_EQ(piece.monitor.number, 2);
  EXPECT_EQ(cv::norm(piece.bgr, small(cv::Rect(20, 30, 50, 40)), cv::NORM_INF), 0.0);

  const Piece picked = CutPiece({.target = L"sheet", .picked = Rect{-600 + 40, 60, -600 + 140, 140}});
  EXPECT_EQ(picked.rect, piece.rect);
}

TEST_F(PieceTest, PickedWindowGetsATargetThatSelectsIt) {
  const Rect inside{110, 110, 120, 120};
  const auto open = [&](std::uint32_t processId) {
    return desktop->OpenWindow(
        {.title = L"A window with a long title", .client = RectAt(100, 100, 50, 50), .processId = processId});
  };
  const auto shortNamed = open(1);
  EXPECT_EQ(TargetOf(inside), L"sheet.exe");
  desktop->CloseWindow(shortNamed);
  open(2);
  EXPECT_EQ(TargetOf(inside), L"A window with a ");
  desktop->OpenWindow({.title = L"a window with a larger area", .client = RectAt(200, 200, 90, 90)});
  EXPECT_NE(Refusal({.picked = inside}).find("use --target"), std::string::npos);
}

TEST_F(PieceTest, AreaThatNoMonitorShowsCompletelyIsRefused) {
  desktop->OpenWindow({.title = L"sheet", .client = RectAt(-50, 100, 100, 100)});
  EXPECT_NE(Refusal({.target = L"sheet", .rect = cv::Rect(40, 0, 20, 20)}).find("no monitor shows"),
            std::string::npos);
  EXPECT_EQ(CutPiece({.target = L"sheet", .rect = cv::Rect(50, 0, 20, 20)}).monitor.number, 1);
  EXPECT_NE(Refusal({.target = L"sheet", .rect = cv::Rect(90, 0, 11, 20)}).find("client area"),
            std::string::npos);
  EXPECT_NE(Refusal({.target = L"other"}).find("no window"), std::string::npos);
  EXPECT_NE(Refusal({.picked = Rect{300, 300, 310, 310}}).find("no window"), std::string::npos);
}

TEST_F(PieceTest, PngFileHasTexts) {
  const std::string file =
      EncodePng(cv::Mat3b(3, 5), kSmallPng, {{"Target", "sheet.exe"}, {"Title", "계산기"}});
  for (const std::string& part :
       {std::string("tEXtTarget\0sheet.exe", 20), std::string("iTXtTitle"), std::string("계산기")}) {
    EXPECT_NE(file.find(part), std::string::npos) << part;
  }
}

}  // namespace
}  // namespace quillmark::live
