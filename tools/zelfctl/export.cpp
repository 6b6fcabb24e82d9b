#include "export.h"

#include <zelfdb/zelfdb.h>

#include <cstdio>

#include "database.h"
#include "language/captured_output.h"
#include "language/outcome.h"
#include "language/value.h"

namespace zelfctl {

int export_clslist(const std::string& number)
{
    u32 list = 0;
    if (!number.empty()) {
        const Kind& kind = *find_kind("clslist");
        Value value;
        if (!kind.read(kind, number, value)) {
            complain("'" + number + "' is not " + kind.expects);
            return exit_usage;
        }
        list = value.number;
    }
    if (!database_is_ready()) return exit_failed;
    std::string answer;
    u32 code = 0;
    if (!capture_output([&] { return zelfdb_disp_classify(list, &code) == 0; }, answer)) {
        complain(code == ZELFDB_NO_DESCRIPTOR ? "no file can be made in /tmp" : text_of_code(code));
        return exit_failed;
    }
    std::fwrite(answer.data(), 1, answer.size(), stdout);
    return exit_done;
}

}  // namespace zelfctl
