// The search for items by words and choices, as the service takes and answers it.
#pragma once

#include "catalogue/service/ReplyOptions.h"
#include "catalogue/store/ItemStore.h"

#include <nlohmann/json.hpp>

namespace catalogue {

/// The query in the parameters of an address: "word" any number of times, with "|" between its alternatives;
/// "category"; "material"; "size", the beginning of a range of sizes; "first" and "count". Throws ParameterError.
ItemQuery ReadItemQuery(const QueryParameters& parameters);

/// `page` as the service answers it: "total", "items", "meant" when other words were searched than those given; the
/// choices "categories" and "materials", each with "name" and "count", and "sizes" with "from", "to" and "count".
nlohmann::ordered_json ToJson(const ItemPage& page);

} // namespace catalogue
