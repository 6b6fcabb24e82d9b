// The verb age: one aging sweep, and which entries left.
#pragma once

namespace zelfctl {

int age(bool json);

}  // namespace zelfctl
