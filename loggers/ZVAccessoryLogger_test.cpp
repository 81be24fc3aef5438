#include "loggers/ZVAccessoryLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVAccessoryLoggerTest : public LoggerTest {};

TEST_F(ZVAccessoryLoggerTest, WritesEachThatComesAndGoes) {
  SimAccessoryManager& accessories = handset.accessories();
  auto logger = ZVAccessoryLogger::logger(services(), accessories);
  attach(*logger);
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{});

  accessories.connect({.connectionIdentifier = 3054,
                       .manufacturer = "Acme\n",
                       .name = "",
                       .modelNumber = "50% %n",
                       .serialNumber = "0042",
                       .firmwareRevision = std::nullopt,
                       .hardwareRevision = "2.1",
                       .protocols = {"alpha", "beta"}});
  Accessory bare;
  bare.connectionIdentifier = 0xFFFFFFFF;
  bare.protocols = {"", ""};
  accessories.connect(bare);
  const std::string dock =
      "connection_id=bee; mfg=Acme\\x0a; name=<unknown>; model=50% %n; serial=0042; "
      "firmware=(null); hardware=2.1; protocols=alpha beta;";
  const Lines both{
      "[Accessory] connected=yes; " + dock,
      "[Accessory] connected=yes; connection_id=ffffffff; mfg=(null); name=(null); model=(null); "
      "serial=(null); firmware=(null); hardware=(null); protocols=<unknown>;"};
  EXPECT_EQ(log.takeEntries(), both);
  logger->log();
  EXPECT_EQ(log.takeEntries(), both);
  accessories.disconnect(3054);
  logger->log();
  EXPECT_EQ(log.takeEntries(), (Lines{"[Accessory] connected=no; " + dock, both[1]}));

  logger.reset();
  accessories.disconnect(0xFFFFFFFF);
  EXPECT_FALSE(accessories.registered());
}

}  // namespace
}  // namespace zorva
