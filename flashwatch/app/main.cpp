// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/run_application.h"

int main() { return orvel::flashwatch::run_application(); }
