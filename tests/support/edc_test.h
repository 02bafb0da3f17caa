// What the test files share: GoogleTest and gMock, the parts of the
// standard library they use, and the support helpers. A test file includes
// this and the headers of what it tests.
#pragma once

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <regex>
#include <set>
#include <sstream>

#include "capture.h"
#include "golden.h"
#include "records.h"
#include "scenario.h"
