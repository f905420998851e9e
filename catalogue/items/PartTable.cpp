#include "catalogue/items/PartTable.h"

#include "catalogue/items/Fasteners.h"
#include "catalogue/items/Machinery.h"
#include "catalogue/items/Structures.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <TopoDS_Shape.hxx>

#include <cmath>

namespace catalogue {

namespace {

struct PartRow {
    Item item; ///< `root` names the document; `documents` follows from it
    std::string partNumber;
    std::string material;
    TopoDS_Shape shape;
    double volume; ///< of the dimensions
};

// ---------------------------------------------------------------------------------------------
// Fasteners

struct NamedBolt {
    const char* size;
    const char* standard;
    const char* id;
    BoltDimensions dimensions;
};

// diameter, pitch, length, head height, width across flats, thread length
const NamedBolt Bolts[] = {
    {"M6x30", "ISO 4014", "hexagon-bolt-m6x30", {6, 1, 30, 4, 10, 18}},
    {"M8x40", "ISO 4014", "hexagon-bolt-m8x40", {8, 1.25, 40, 5.3, 13, 22}},
    {"M10x50", "ISO 4014", "hexagon-bolt-m10x50", {10, 1.5, 50, 6.4, 16, 26}},
    {"M6x16", "ISO 4017", "hexagon-screw-m6x16", {6, 1, 16, 4, 10, 16}},
};

struct NamedNut {
    const char* size;
    const char* id;
    NutDimensions dimensions;
};

// diameter, pitch, height, width across flats
const NamedNut Nuts[] = {
    {"M6", "hexagon-nut-m6", {6, 1, 5.2, 10}},
    {"M8", "hexagon-nut-m8", {8, 1.25, 6.8, 13}},
    {"M10", "hexagon-nut-m10", {10, 1.5, 8.4, 16}},
};

struct NamedWasher {
    const char* size;
    const char* id;
    WasherDimensions dimensions;
};

// inner diameter, outer diameter, thickness
const NamedWasher Washers[] = {
    {"M6", "washer-m6", {6.4, 12, 1.6}},
    {"M8", "washer-m8", {8.4, 16, 1.6}},
    {"M10", "washer-m10", {10.5, 20, 2}},
};

std::string WithoutBlank(const std::string& standard)
{
    std::string text = standard;
    text.erase(text.find(' '), 1);
    return text;
}

PartRow Row(std::string id, std::string title, std::string category, std::string description,
            std::vector<Dimension> dimensions, const std::string& partNumber, std::string material,
            const TopoDS_Shape& shape, double volume, Delivery delivery = Delivery::Archive)
{
    Item item{std::move(id),         std::move(title), std::move(category),     std::move(description),
              std::move(dimensions), delivery,         partNumber + ".ZALPart", {}};
    return {std::move(item), partNumber, std::move(material), shape, volume};
}

void AddFasteners(std::vector<PartRow>& rows)
{
    for (const auto& [size, standard, id, bolt] : Bolts)
        rows.push_back(Row(id, std::string("Hexagon bolt ") + standard + " " + size, "Bolts and screws",
                           "Hexagon head, chamfered; thread shown by its outer diameter",
                           {{"d", bolt.diameter},
                            {"P", bolt.pitch},
                            {"l", bolt.length},
                            {"k", bolt.headHeight},
                            {"s", bolt.widthAcrossFlats},
                            {"b", bolt.threadLength}},
                           WithoutBlank(standard) + "_" + size, "Steel 8.8", MakeBolt(bolt), BoltVolume(bolt)));
    for (const auto& [size, id, nut] : Nuts)
        rows.push_back(Row(id, std::string("Hexagon nut ISO 4032 ") + size, "Nuts",
                           "Chamfered on both sides; thread shown by its core diameter",
                           {{"d", nut.diameter}, {"P", nut.pitch}, {"m", nut.height}, {"s", nut.widthAcrossFlats}},
                           std::string("ISO4032_") + size, "Steel 8", MakeNut(nut), NutVolume(nut)));
    for (const auto& [size, id, washer] : Washers)
        rows.push_back(Row(id, std::string("Washer ISO 7089 ") + size, "Washers", "Plain, without chamfer",
                           {{"d1", washer.innerDiameter}, {"d2", washer.outerDiameter}, {"h", washer.thickness}},
                           std::string("ISO7089_") + size, "Steel 200 HV", MakeWasher(washer), WasherVolume(washer),
                           Delivery::Raw));
}

// ---------------------------------------------------------------------------------------------
// Machine elements

void AddMachinery(std::vector<PartRow>& rows)
{
    const BearingDimensions bearing{20, 47, 14, 1, 28.8, 39.4, 7.938, 8};
    rows.push_back(Row("ball-bearing-6204", "Deep-groove ball bearing 6204", "Bearings",
                       "Rings and balls as solids of their own, without a cage",
                       {{"d", bearing.bore},
                        {"D", bearing.outerDiameter},
                        {"B", bearing.width},
                        {"r", bearing.cornerRadius},
                        {"balls", double(bearing.balls)}},
                       "ISO15_6204", "Steel 100Cr6", MakeBearing(bearing), BearingVolume(bearing)));

    const ShaftDimensions shaft{{16, 20, 26, 20, 16}, {30, 14, 60, 14, 36}, 1, 5, 3, 25, 5};
    rows.push_back(Row("stepped-shaft-20", "Stepped shaft 20", "Shafts",
                       "Two bearing seats, keyway DIN 6885 with round ends",
                       {{"d", 20}, {"D", 26}, {"l", 154}, {"b", shaft.keyWidth}, {"t1", shaft.keyDepth}},
                       "SHAFT_20x154", "Steel C45", MakeShaft(shaft), ShaftVolume(shaft)));

    const GearDimensions gears[] = {{2, 18, 20, 12, 4, 1.8}, {2, 36, 18, 16, 5, 2.3}};
    for (const GearDimensions& gear : gears) {
        const std::string teeth = std::to_string(gear.teeth);
        rows.push_back(Row("spur-gear-m2-z" + teeth, "Spur gear module 2, " + teeth + " teeth", "Gears",
                           "Involute teeth, pressure angle 20 degrees, bore with keyway",
                           {{"m", gear.module}, {"z", double(gear.teeth)}, {"b", gear.faceWidth}, {"d", gear.bore}},
                           "GEAR_M2_Z" + teeth, "Steel 16MnCr5", MakeGear(gear), GearVolume(gear)));
    }
}

// ---------------------------------------------------------------------------------------------
// Structural parts

void AddStructures(std::vector<PartRow>& rows)
{
    const BracketDimensions bracket{40, 4, 38, 4, 6, 5, 6.6};
    rows.push_back(
        Row("angle-bracket-40", "Angle bracket 40", "Brackets", "For profiles 40x40, two holes for M6",
            {{"leg", bracket.leg}, {"t", bracket.thickness}, {"b", bracket.width}, {"d", bracket.holeDiameter}},
            "BRACKET_40", "Steel S235", MakeBracket(bracket), BracketVolume(bracket), Delivery::OpenInSource));

    const ProfileDimensions profile{40, 400, 4, 8.2, ProfileLip, 20, 7.5, 9, 12.5, 6.8};
    rows.push_back(Row("profile-40x40-400", "Aluminium profile 40x40, 400 long", "Profiles", "Four T slots of width 8",
                       {{"a", profile.side}, {"l", profile.length}, {"slot", profile.slotWidth}}, "PROFILE_40x40_400",
                       "Aluminium EN AW-6063", MakeProfile(profile), ProfileVolume(profile), Delivery::Raw));

    const SlotNutDimensions slotNut{7.8, 4, ProfileLip, 15, 4, 16, 5};
    rows.push_back(Row("slot-nut-m6", "Slot nut 8, M6", "Nuts", "For T slots of width 8",
                       {{"b", slotNut.bodyWidth}, {"l", slotNut.length}}, "SLOTNUT_8_M6", "Steel 8",
                       MakeSlotNut(slotNut), SlotNutVolume(slotNut)));

    const HousingDimensions housing{130, 50, 16, 8, 50, 38, 30, 4, 47, 14, 40, 9, 104, 30};
    rows.push_back(Row("bearing-housing-47", "Bearing housing 47", "Housings", "Foot housing for bearing 6204",
                       {{"D", housing.seatDiameter},
                        {"B", housing.seatDepth},
                        {"h", housing.axisHeight},
                        {"l", housing.length},
                        {"b", housing.width}},
                       "HOUSING_47", "Cast iron GJL-200", MakeHousing(housing), HousingVolume(housing)));
}

void AddPart(Catalogue& catalogue, const PartRow& row)
{
    openhost::CadDocument document;
    document.kind = openhost::DocumentKind::Part;
    document.partNumber = row.partNumber;
    document.nomenclature = row.item.title;
    document.description = row.item.description;
    document.parameters = {{"Material", row.material}, {"Category", row.item.category}};
    document.geometry = openhost::EncodeShape(row.shape);

    const double volume = document.geometry->facts.volume;
    if (!(std::abs(volume - row.volume) <= VolumeTolerance * row.volume))
        throw std::runtime_error(row.item.id + ": the volume is " + std::to_string(volume) + ", its dimensions give " +
                                 std::to_string(row.volume));

    Item item = row.item;
    item.documents = {item.root};
    catalogue.documents.emplace(item.root, std::move(document));
    catalogue.items.push_back(std::move(item));
}

} // namespace

void AddParts(Catalogue& catalogue)
{
    std::vector<PartRow> rows;
    AddFasteners(rows);
    AddMachinery(rows);
    AddStructures(rows);
    for (const PartRow& row : rows)
        AddPart(catalogue, row);
}

} // namespace catalogue
