// Reading a child's captured output.
#include "captured_output.h"

namespace teska::cli {

std::string read_capture(std::FILE* capture) {
    std::string text;
    std::rewind(capture);
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, capture)) > 0;)
        text.append(buffer, n);
    std::fclose(capture);
    return text;
}

}  // namespace teska::cli
