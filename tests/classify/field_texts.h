// Field texts for random tests: well-formed ones, and what becomes of them when they are cut, spliced and written over.
#pragma once

#include <string>

#include "support/random.h"

namespace zelfdb {

class FieldTexts {
public:
    explicit FieldTexts(Random& random) : random_(random) {}

    // Of at most so many bytes. One in four is left well-formed.
    std::string some(std::size_t longest)
    {
        std::string text = random_.once_in(2) ? address() : number();
        for (u32 changes = random_.below(4); changes > 0; --changes) change(text);
        if (text.size() > longest) text.resize(longest);
        return text;
    }

private:
    std::string decimal(u32 usual, u32 unusual)
    {
        return std::to_string(random_.below(random_.once_in(4) ? unusual : usual));
    }
    std::string quad()
    {
        std::string text = decimal(256, 600);
        for (int i = 0; i < 3; ++i) text.append(".").append(decimal(256, 600));
        return text;
    }
    std::string address()
    {
        std::string text = quad();
        if (random_.once_in(2)) text.append("-").append(quad());
        if (random_.once_in(2)) text.append("/").append(decimal(33, 70));
        return text;
    }
    std::string number()
    {
        std::string text = random_.once_in(4) ? "-" : "";
        text.append(decimal(300, 70000));
        if (random_.once_in(2)) text.append("-").append(decimal(300, 70000));
        char mask[16];
        std::snprintf(mask, sizeof mask, "/%x", random_.below(0x20000));
        return random_.once_in(2) ? text : text + mask;
    }
    std::string piece()
    {
        static constexpr const char* pieces[] = {"-",
                                                 "--",
                                                 "/",
                                                 ".",
                                                 " ",
                                                 "\t",
                                                 "\n",
                                                 "+",
                                                 "0x",
                                                 "/0x",
                                                 "-0",
                                                 "/0",
                                                 "/32",
                                                 "/33",
                                                 "/-1",
                                                 "/ffffffff",
                                                 "2147483647",
                                                 "-2147483648",
                                                 "4294967295",
                                                 "4294967296",
                                                 "18446744073709551615",
                                                 "18446744073709551616",
                                                 "99999999999999999999999"};
        return pieces[random_.below(static_cast<u32>(std::size(pieces)))];
    }
    std::size_t place(const std::string& text) { return random_.below(static_cast<u32>(text.size() + 1)); }
    void change(std::string& text)
    {
        const std::size_t at = place(text);
        switch (random_.below(6)) {
        case 0: text.insert(at, piece()); break;
        case 1: text.insert(at, 1, "0123456789.-/ +xXaf"[random_.below(19)]); break;
        case 2: text.insert(at, 1, static_cast<char>(random_.below(256))); break;
        case 3: text.erase(at, 1 + random_.below(4)); break;
        case 4: text.replace(at, 1, 1, static_cast<char>(random_.below(256))); break;
        default: text = text.substr(0, at) + (random_.once_in(2) ? address() : number()); break;
        }
    }

    Random& random_;
};

}  // namespace zelfdb
