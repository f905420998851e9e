#include "catalogue/items/TemplateTable.h"

namespace catalogue {

namespace {

openhost::DocumentCamera IsometricCamera()
{
    return {"Isometric", {200, 200, 200}, {-1, -1, -1}, {-1, -1, 2}, 100};
}

openhost::CadDocument PartTemplate()
{
    openhost::CadDocument part;
    part.partNumber = "PART_TEMPLATE";
    part.nomenclature = "Part template";
    part.identity = "velmart-part-template";
    part.parameters = {{"Title", "Velmart part"},
                       {"Revision", 1},
                       {"Released", false},
                       {"Tolerance", openhost::ParameterLength{0.1, "mm"}}};
    part.cameras = {IsometricCamera()};
    part.features.axisSystems = {{"Absolute axis system", openhost::IdentityPlacement}};
    return part;
}

openhost::CadDocument ProductTemplate()
{
    openhost::CadDocument product;
    product.kind = openhost::DocumentKind::Product;
    product.partNumber = "PRODUCT_TEMPLATE";
    product.nomenclature = "Product template";
    product.description = "Assembly of bought parts";
    product.identity = "velmart-product-template";
    product.parameters = {{"Title", "Velmart assembly"}, {"Revision", 1}, {"Released", false}};
    product.cameras = {IsometricCamera()};
    return product;
}

} // namespace

void AddTemplates(Catalogue& catalogue)
{
    catalogue.templates.emplace(PartTemplateName, PartTemplate());
    catalogue.templates.emplace(ProductTemplateName, ProductTemplate());
}

} // namespace catalogue
