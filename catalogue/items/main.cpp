// velmart-items OUTDIR: builds the items of the catalogue.

#include "catalogue/items/AssemblyTable.h"
#include "catalogue/items/ItemWriter.h"
#include "catalogue/items/PartTable.h"
#include "catalogue/items/TemplateTable.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    if (argc != 2 || argv[1][0] == '-') {
        std::cerr << "usage: velmart-items OUTDIR\n"
                     "Writes files/, items/, shapes/ and index.json of the catalogue into OUTDIR.\n";
        return 2;
    }
    try {
        catalogue::Catalogue catalogue;
        catalogue::AddParts(catalogue);
        catalogue::AddAssemblies(catalogue);
        catalogue::AddTemplates(catalogue);
        catalogue::WriteCatalogue(catalogue, argv[1]);
        std::cout << catalogue.items.size() << " items in " << argv[1] << "\n";
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "velmart-items: " << error.what() << "\n";
        return 1;
    }
}
