// What every unit test uses.
#pragma once

#include "fakes/imports.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"

#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <random>
