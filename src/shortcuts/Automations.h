#pragma once
#include <optional>
#include <string>
#include <vector>

namespace vennic::shortcuts {

/// One file of the folder that could be an automation.
struct Automation {
    enum class State {
        runnable,
        notExecutable,      // by this user
        changeableByOthers, // it belongs to another user, or everybody may write it
    };

    std::string file; // its name in the folder, UTF-8 without control characters
    std::string name; // by which it is run
    State state = State::runnable;
    bool operator==(const Automation&) const = default;
};

/// The file's name without its ending: a letter and up to fifteen more letters and digits after the last dot. "Version
/// 1.2" has none.
std::string nameWithoutEnding(const std::string& file);

/// Gives each automation its name: that of its file without the ending. Runnable ones for which this is the same keep
/// the ending, so that every one of them has a name of its own, and so does one whose name would end in white space.
void giveNames(std::vector<Automation>& automations);

/// The regular files of the folder, and links to such, in no order. Left out are those whose name is hidden, isn't
/// UTF-8, holds control characters, or has white space at an end: a list of lines couldn't name them. An absent folder
/// is an empty one. Raises std::runtime_error with a French sentence when the folder can't be read, or when others
/// than this user and the system may write in it.
std::vector<Automation> automationsIn(const std::string& folder);

} // namespace vennic::shortcuts
