#pragma once

#include <filesystem>

#include "app/run_application.h"

namespace hvt {

// The built-in test that drives the real window: hvt::SelfTest.
int run_self_test(const std::filesystem::path& run_folder, const Launch& launch);

}  // namespace hvt
