#include "studio/commands/CommandTable.h"

#include <gtest/gtest.h>
