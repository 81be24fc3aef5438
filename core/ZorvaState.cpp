// SPDX-License-Identifier: Apache-2.0
#include "core/ZorvaState.h"

#include "platform/loop/RunLoop.h"

namespace zorva {

ZorvaState sZorvaState;
ZorvaContext sZorvaContext;

void ReaderIsGone() {
  sZorvaContext.readerIsGone = true;
  sZorvaContext.platform->runLoop.stop();
}

}  // namespace zorva
