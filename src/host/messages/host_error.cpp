#include "platform/host_procedure.h"

#include <cstdint>
#include <utility>

#include "host/messages/string_table.h"
#include "host/output/document.h"

// `show` 1 sends the text to the trace only (the log); any other value makes it a message of the
// output. `code` is how the caller continues afterwards: this host always returns to the caller,
// so it is not used (BEGIN GPL passes -4 and returns by itself).
void backenderror_(std::int64_t& number, std::int64_t& show, std::int64_t& /*code*/) {
    auto text = host::messages::hostErrorText(number);
    auto& document = host::output::current();
    if (show == 1)
        document.addTrace(text);
    else
        document.addMessage(3, std::move(text), document.currentLine());
}
