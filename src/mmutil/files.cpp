// Directory creation for the side files of the pipeline.
#include <sys/stat.h>

#include "teska/mmutil.h"

namespace mmutil {

// Whatever already exists at path (directory or not) counts as success.
int create_directory(const char* path) {
    struct stat info;
    if (stat(path, &info) != 0) return mkdir(path, 0750);
    return 0;
}

}  // namespace mmutil
