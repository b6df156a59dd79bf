#pragma once
#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace kerf::test {

/// The name of a file that does not exist yet, removed with whatever is there at the end.
class TemporaryFile {
public:
    TemporaryFile() {
        static const unsigned int run = std::random_device{}();
        static std::atomic<int> last{0};
        name_ = (std::filesystem::temp_directory_path() /
                 ("kerf_test_" + std::to_string(run) + "_" + std::to_string(++last)))
                    .string();
    }
    explicit TemporaryFile(const std::string& bytes) : TemporaryFile() { setBytes(bytes); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove_all(name_, ignored);
    }

    const char* path() const { return name_.c_str(); }

    /// The file's bytes, read by other means than those under test; empty when there is none.
    std::string bytes() const {
        std::ifstream stream(name_, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    void setBytes(const std::string& bytes) const {
        std::ofstream(name_, std::ios::binary | std::ios::trunc) << bytes;
    }

private:
    std::string name_;
};

}  // namespace kerf::test
