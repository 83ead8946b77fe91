// The other side of the door: finds a running lab and gives it an order.
#pragma once

#include <string>
#include <vector>

namespace lab {

// The folder of this user's one running lab. Throws Error when there is none, or several.
std::string find_lab();

// The lab's answer; throws Refusal when it says no, Error when it does not answer.
std::string give_order(const std::string &folder, const std::string &order, const std::vector<std::string> &words);

}  // namespace lab
