#pragma once
#include <cmath>
#include <cstddef>
#include <fstream>
#include <istream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "examples/text_input.h"

// Reads the entities of an ASCII DXF file. The file is a list of groups, two lines each: a code that
// says what the value on the second line means. Group 0 starts an entity, or a section and its end;
// 999 is a comment. What a group means for an entity is for dxf_curves.h to say.

namespace dxf {

using ::parse;

struct Group {
    int code = 0;
    std::string value;
    unsigned int line = 0;  // of the value
};

/// One entity of the drawing: its kind, as in the file, and its groups in their order.
struct Entity {
    std::string kind;
    unsigned int line = 0;
    std::vector<Group> groups;

    bool has(int code) const {
        for (const Group& group : groups)
            if (group.code == code) return true;
        return false;
    }
};

namespace detail {

inline std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// Hands out the groups of a file, comments left out.
class GroupReader {
public:
    explicit GroupReader(std::istream& input) : input_(input) {}

    /// False at the end of the file, and for a broken group, which `complaint` then tells.
    bool next(Group& group, Complaint& complaint) {
        do {
            std::string code;
            if (!nextLine(code)) return false;
            if (number_ == 1 && code.starts_with("\xEF\xBB\xBF")) code.erase(0, 3);
            const std::string_view text = trimmed(code);
            if (!parse(text, group.code)) {
                complaint = {number_, "not a group code: " + inQuotes(text)};
                return false;
            }
            if (!nextLine(group.value)) {
                complaint = {number_, "the file ends after the group code " + inQuotes(text)};
                return false;
            }
            group.value = trimmed(group.value);
            group.line = number_;
        } while (group.code == 999);
        return true;
    }
    unsigned int line() const { return number_; }

private:
    bool nextLine(std::string& line) {
        if (!std::getline(input_, line)) return false;
        ++number_;
        return true;
    }

    std::istream& input_;
    unsigned int number_ = 0;
};

}  // namespace detail

/// The value of a group as a finite number; false, with the complaint, when it is none.
inline bool readNumber(const Group& group, double& number, Complaint& complaint) {
    if (parse(group.value, number) && std::isfinite(number)) return true;
    complaint = {group.line, "group " + std::to_string(group.code) +
                                 " is no finite number: " + inQuotes(group.value)};
    return false;
}

/// The same as a whole number.
inline bool readInteger(const Group& group, int& number, Complaint& complaint) {
    if (parse(group.value, number)) return true;
    complaint = {group.line, "group " + std::to_string(group.code) +
                                 " is no whole number: " + inQuotes(group.value)};
    return false;
}

/// Appends the entities of the section ENTITIES in their order; other sections are passed over, so
/// that the parts of a block, which is drawn only where an INSERT says so, do not count. False, with
/// the complaint, when a group is broken, the section is missing, or the file stops before its end
/// is told.
inline bool readEntities(std::istream& input, std::vector<Entity>& entities, Complaint& complaint) {
    detail::GroupReader reader(input);
    Group group;
    std::string section;  // empty between sections
    bool seen = false;
    while (reader.next(group, complaint)) {
        if (group.code != 0) {
            if (section == "ENTITIES" && !entities.empty()) entities.back().groups.push_back(group);
            continue;
        }
        if (group.value == "EOF") {
            if (section.empty() && seen) return true;
            complaint = {group.line, section.empty()
                                         ? "the file has no section ENTITIES"
                                         : "the file ends within the section " + inQuotes(section)};
            return false;
        }
        if (group.value == "SECTION") {
            if (!section.empty()) {
                complaint = {group.line,
                             "a section begins within the section " + inQuotes(section)};
                return false;
            }
            if (!reader.next(group, complaint)) break;
            if (group.code != 2 || group.value.empty()) {
                complaint = {group.line, "a section without a name"};
                return false;
            }
            section = group.value;
            seen = seen || section == "ENTITIES";
        } else if (group.value == "ENDSEC") {
            section.clear();
        } else if (section == "ENTITIES") {
            if (group.value.empty()) {
                complaint = {group.line, "an entity without a kind"};
                return false;
            }
            entities.push_back({group.value, group.line, {}});
        } else if (section.empty()) {
            complaint = {group.line, inQuotes(group.value) + " stands outside any section"};
            return false;
        }
    }
    if (complaint.text.empty()) complaint = {reader.line(), "the file ends without EOF"};
    return false;
}

inline bool readEntities(const std::string& path, std::vector<Entity>& entities,
                         Complaint& complaint) {
    std::ifstream input(path, std::ios::binary);
    if (input && readEntities(input, entities, complaint)) return true;
    if (!input.is_open() || input.bad()) complaint = {0, "cannot be read"};
    return false;
}

}  // namespace dxf
