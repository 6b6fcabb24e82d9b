// The verb export.
#pragma once

#include <string>

namespace zelfctl {

// Empty: all lists.
int export_clslist(const std::string& number);

}  // namespace zelfctl
