#include "PrintLine.h"

#include <iostream>

namespace Weftline::Services::Scheduler {

void PrintLine(std::string text) {
    text.push_back('\n');
    std::cout << text << std::flush;
}

}  // namespace Weftline::Services::Scheduler
