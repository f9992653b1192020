// Runs part of a test in a fork()ed child with its standard output and error captured, for the
// toolkit's paths that end the process.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace childprocess {

struct Outcome {
    bool exited = false;    // ended by exit(): `code` holds the status
    int code = -1;
    bool signaled = false;  // ended by a signal: `signal` holds it
    int signal = 0;
    std::string out;
    std::string err;
};

// `body` runs in the child, which then exits with status 0 unless `body` ended it.
Outcome Run(const std::function<void()>& body);

// Re-executes this test program in a child with only the tests of `filter`, after setting the
// variables of `set` and removing those of `unset` from its environment, which matters for
// settings that the library reads at load.
Outcome RunSelf(const std::string& filter, const std::vector<std::pair<std::string, std::string>>& set,
                const std::vector<std::string>& unset);

}  // namespace childprocess
