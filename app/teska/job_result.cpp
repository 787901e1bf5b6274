// Job results and their encoding: one field after another as a tag letter, the length in
// decimal, a colon and the bytes; "E0:" ends a whole record.
#include "job_result.h"

#include <cstdlib>

namespace teska::cli {

const char* status_name(Status status) {
    switch (status) {
        case Status::kOk:
            return "ok";
        case Status::kFailed:
            return "failed";
        case Status::kSkipped:
            return "skipped";
        case Status::kTimeout:
            return "timeout";
    }
    return "failed";
}

namespace {

void put(std::string& out, char tag, const std::string& value) {
    out += tag;
    out += std::to_string(value.size());
    out += ':';
    out += value;
}

}  // namespace

std::string encode(const JobResult& r) {
    std::string out;
    put(out, 'S', std::to_string(static_cast<int>(r.status)));
    put(out, 'A', std::to_string(r.atoms));
    put(out, 'M', std::to_string(r.molecules));
    put(out, 'F', r.formulas);
    for (const std::string& w : r.warnings) put(out, 'W', w);
    put(out, 'R', r.error);
    for (const std::string& o : r.outputs) put(out, 'O', o);
    put(out, 'J', r.json);
    put(out, 'T', r.text);
    put(out, 'E', "");
    return out;
}

bool decode(const std::string& text, JobResult* result) {
    JobResult r;
    std::size_t at = 0;
    while (at < text.size()) {
        const char tag = text[at];
        const std::size_t colon = text.find(':', at + 1);
        if (colon == std::string::npos) return false;
        const std::size_t length = std::strtoull(text.c_str() + at + 1, nullptr, 10);
        if (colon + 1 + length > text.size()) return false;
        const std::string value = text.substr(colon + 1, length);
        at = colon + 1 + length;
        switch (tag) {
            case 'S':
                r.status = static_cast<Status>(std::atoi(value.c_str()));
                break;
            case 'A':
                r.atoms = std::atoi(value.c_str());
                break;
            case 'M':
                r.molecules = std::atoi(value.c_str());
                break;
            case 'F':
                r.formulas = value;
                break;
            case 'W':
                r.warnings.push_back(value);
                break;
            case 'R':
                r.error = value;
                break;
            case 'O':
                r.outputs.push_back(value);
                break;
            case 'J':
                r.json = value;
                break;
            case 'T':
                r.text = value;
                break;
            case 'E':
                *result = r;
                return true;
            default:
                return false;
        }
    }
    return false;
}

}  // namespace teska::cli
