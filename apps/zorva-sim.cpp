// SPDX-License-Identifier: Apache-2.0
#include <iostream>

#include "apps/DefaultLoggers.h"
#include "apps/ProcessSetUp.h"
#include "apps/SimRun.h"
#include "core/ZorvaMain.h"

int main(int argc, char* argv[]) {
  zorva::prepareProcess();
  int status = 0;
  auto run = zorva::SimRun::fromArguments(argc, argv, status, std::cout, std::cerr);
  if (!run) return status;
  status = zorva::ZorvaMain(run->zorvaArgumentCount(), run->zorvaArguments(),
                            {[&run] { return &run->platform(); }}, zorva::defaultLoggers());
  if (!run->writeTruth(std::cerr) && status == 0) status = 1;
  return status;
}
