// What the catalogue offers.
#pragma once

#include "openhost/documents/CadDocument.h"

#include <map>
#include <string>
#include <vector>

namespace catalogue {

/// A size of an item, in millimetres or as a number.
struct Dimension {
    std::string name;
    double value;
};

/// How the files of an item reach the user.
enum class Delivery {
    Archive,      ///< a zip archive with side files
    Raw,          ///< the same, and beside it the document as it is; the item has one
    OpenInSource, ///< the document as it is, opened where it lies and not downloaded
};

/// One thing to choose in the catalogue.
struct Item {
    std::string id;
    std::string title;
    std::string category;
    std::string description;
    std::vector<Dimension> dimensions;
    Delivery delivery = Delivery::Archive;
    std::string root;                   ///< file name of the root document
    std::vector<std::string> documents; ///< file names of all documents, in the order of the archive
};

/// Documents by file name.
using Documents = std::map<std::string, openhost::CadDocument>;

/// Every item with every document that they name, and the templates to rebuild them on.
struct Catalogue {
    std::string name = "Velmart standard parts"; ///< as requests tell it
    std::vector<Item> items;
    Documents documents;
    Documents templates;
};

} // namespace catalogue
