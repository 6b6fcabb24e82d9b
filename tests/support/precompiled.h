// What every test includes, parsed once.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>
