// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVAudioLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVAudioLoggerTest : public LoggerTest {};

TEST_F(ZVAudioLoggerTest, WritesASnapshotAndWhatTheControllerAnnounces) {
  SimAudioSystem& controller = handset.audio();
  auto logger = ZVAudioLogger::logger(services(), controller);
  controller.setVolume(0.25F);
  attach(*logger);
  logger->log();
  EXPECT_EQ(log.takeEntries(),
            Lines{"[Audio] active=no; route=Speaker; volume=25.0%; output_category=Ringtone; "
                  "muted=no; headphones=disconnected; headset_input=no;"});

  // Nobody announces these two.
  controller.setAttribute(audio::kPlaying, true);
  controller.setCategory("Odd\n50% %n");
  EXPECT_EQ(log.takeEntries(), Lines{});
  controller.setAttribute(audio::kHeadphoneJack, true);
  controller.setAttribute(audio::kActiveRoute, {});
  controller.setAttribute(audio::kHeadphoneJackHasInput, true);
  controller.setAttribute(audio::kFullMute, "yes");
  controller.setCategory(std::nullopt);
  controller.setVolume(1.0F);
  handset.faults().fail("audio.activeCategory");
  controller.setAttribute(audio::kHeadphoneJack, {});
  const std::string odd = "volume=25.0%; output_category=Odd\\x0a50% %n; muted=no; ";
  EXPECT_EQ(
      log.takeEntries(),
      (Lines{
          "[Audio] active=yes; route=Speaker; " + odd + "headphones=connected; headset_input=no;",
          "[Audio] active=yes; route=(null); " + odd + "headphones=connected; headset_input=no;",
          "[Audio] active=yes; route=(null); " + odd + "headphones=connected; headset_input=yes;",
          "[Audio] active=yes; route=(null); volume=100.0%; output_category=(null); muted=yes; "
          "headphones=connected; headset_input=yes;",
          "[Audio] active=yes; route=(null); volume=<unknown>; output_category=<unknown>; "
          "muted=yes; headphones=disconnected; headset_input=yes;"}));

  logger.reset();
  controller.setVolume(0.0F);
}

}  // namespace
}  // namespace zorva
