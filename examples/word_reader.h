#pragma once
#include <cmath>
#include <fstream>
#include <istream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "examples/text_input.h"
#include "kerf/values/point.h"

// Texts of words and numbers, in lines of any length. What follows a # is a comment.

/// Hands out the words of a text.
class Words {
public:
    explicit Words(std::istream& input) : input_(input) {}

    /// Empty at the end.
    const std::string& peek() {
        while (word_.empty() && (line_ >> word_).fail()) {
            std::string text;
            if (!std::getline(input_, text)) break;
            ++number_;
            line_ = std::istringstream(text.substr(0, text.find('#')));
            word_.clear();
        }
        return word_;
    }
    std::string next() {
        peek();
        return std::exchange(word_, {});
    }
    unsigned int line() const { return number_; }

private:
    std::istream& input_;
    std::istringstream line_;
    std::string word_;
    unsigned int number_ = 0;
};

/// What readers of such a text are derived from. Only the first complaint counts; once there is one, numbers
/// read as something harmless, and the text runs on without being judged.
class WordReader {
public:
    explicit WordReader(std::istream& input) : words_(input) {}

    const Complaint& complaint() const { return complaint_; }

protected:
    const std::string& peek() { return words_.peek(); }
    void skip() { words_.next(); }
    bool isAtEnd() { return peek().empty(); }
    unsigned int line() const { return words_.line(); }
    bool good() const { return complaint_.text.empty(); }

    // These return false.
    bool fail(const std::string& text) {
        if (complaint_.text.empty()) complaint_ = {words_.line(), text};
        return false;
    }
    bool missing(const std::string& what) {
        if (isAtEnd()) return fail("nothing stands where " + what + " should");
        return fail(inQuotes(peek()) + " stands where " + what + " should");
    }
    bool keyword(std::string_view wanted) {
        if (good() && peek() != wanted) return missing(inQuotes(wanted));
        skip();
        return good();
    }
    double number(const char* what) {
        double value = 0.0;
        if (good() && (!parse(peek(), value) || !std::isfinite(value))) missing(what);
        skip();
        return good() ? value : 0.0;
    }
    unsigned int wholeNumber(const char* what, unsigned int least, unsigned int most) {
        unsigned int value = 0;
        if (good() && !parse(peek(), value)) missing(what);
        if (good() && (value < least || value > most))
            fail(std::string(what) + " is to be from " + std::to_string(least) + " to " +
                 std::to_string(most));
        skip();
        return good() ? value : least;
    }
    kerf::ERPoint3D point(const char* what) {
        const double x = number(what), y = number(what), z = number(what);
        return {x, y, z};
    }
    kerf::ERVector3D direction(const char* what) {
        const kerf::ERVector3D v(point(what));
        if (good() && v.norme2() == 0.0) fail(std::string(what) + " is zero");
        return good() ? v.getnormalized() : kerf::ERVector3D(0, 0, 1);
    }
    double positive(const char* what) {
        const double value = number(what);
        if (good() && !(value > 0.0)) fail(std::string(what) + " is not positive");
        return good() ? value : 1.0;
    }

private:
    Words words_;
    Complaint complaint_;
};

/// What read(reader) returns for a Reader of the file; nothing, after a message with the line, when it cannot
/// be read or the reader complains.
template <class Reader>
auto readWordFile(const std::string& path) -> decltype(std::declval<Reader&>().read()) {
    std::ifstream input(path);
    if (!input) {
        Complaint{0, "cannot be read"}.print(path);
        return std::nullopt;
    }
    Reader reader(input);
    auto result = reader.read();
    if (input.bad()) {
        Complaint{0, "cannot be read to its end"}.print(path);
        return std::nullopt;
    }
    if (!result) reader.complaint().print(path);
    return result;
}
