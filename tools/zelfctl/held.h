// Both segments of the database, attached, and both of its locks, held. For whoever looks at records rather than use the
// operations.
#pragma once

#include <memory>
#include <optional>

#include "check/check.h"

namespace zelfctl {

enum class Access { read, write };

class Held {
public:
    // Nothing after a message.
    static std::optional<Held> take(Access access);
    Held(Held&&) noexcept;
    ~Held();
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

    // Without an FDB segment its address is null.
    [[nodiscard]] zelfdb::Segments segments() const;
    // To be written only if that was asked for.
    [[nodiscard]] void* main() const;
    [[nodiscard]] void* fdb() const;

private:
    Held();
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace zelfctl
