#include "catalogue/sources/ItemIds.h"

namespace catalogue {

std::string ItemIds::Make(const std::string& name)
{
    std::string id;
    for (const char character : name.substr(0, name.rfind('.'))) {
        const bool isCapital = character >= 'A' && character <= 'Z';
        const char small = isCapital ? static_cast<char>(character - 'A' + 'a') : character;
        if ((small >= 'a' && small <= 'z') || (small >= '0' && small <= '9'))
            id += small;
        else if (!id.empty() && id.back() != '-')
            id += '-';
    }
    // The end of a long path tells more than its beginning.
    if (id.size() > MaximumItemId)
        id.erase(0, id.size() - MaximumItemId);
    id.erase(0, id.find_first_not_of('-'));
    id.erase(id.find_last_not_of('-') + 1);
    if (id.empty())
        id = "item";
    std::string free = id;
    for (std::size_t number = 2; !taken_.insert(free).second; ++number)
        free = id + '-' + std::to_string(number);
    return free;
}

} // namespace catalogue
