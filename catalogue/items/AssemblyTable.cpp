#include "catalogue/items/AssemblyTable.h"

#include "catalogue/items/Dimensions.h"
#include "catalogue/items/Placements.h"

#include <algorithm>

namespace catalogue {

namespace {

// Directions of axes. Products are built from quarter turns, which these name without rounding.
constexpr openhost::Vector X{1, 0, 0}, Y{0, 1, 0}, Z{0, 0, 1};
constexpr openhost::Vector MinusX{-1, 0, 0}, MinusY{0, -1, 0}, MinusZ{0, 0, -1};

/// A product under construction.
class Product {
public:
    Product(std::string partNumber, std::string nomenclature)
    {
        document_.kind = openhost::DocumentKind::Product;
        document_.partNumber = std::move(partNumber);
        document_.nomenclature = std::move(nomenclature);
    }

    /// Adds an instance of the document `fileName`, named after it and numbered.
    void Add(const std::string& fileName, const openhost::Placement& placement)
    {
        auto link = std::find(document_.links.begin(), document_.links.end(), fileName);
        if (link == document_.links.end())
            link = document_.links.insert(link, fileName);
        const auto index = static_cast<std::uint32_t>(link - document_.links.begin());
        const auto same = std::count_if(document_.children.begin(), document_.children.end(),
                                        [&](const openhost::ChildInstance& child) { return child.link == index; });
        const std::string stem = fileName.substr(0, fileName.rfind('.'));
        document_.children.push_back({stem + "." + std::to_string(same + 1), index, placement});
    }

    const openhost::CadDocument& GetDocument() const { return document_; }

private:
    openhost::CadDocument document_;
};

std::string AddProduct(Catalogue& catalogue, const Product& product)
{
    std::string fileName = product.GetDocument().partNumber + ".ZALProduct";
    catalogue.documents.emplace(fileName, product.GetDocument());
    return fileName;
}

/// Adds an item with all documents under `root`: parts in the order of use, products from the inside out, so
/// that the root is the last.
void AddItem(Catalogue& catalogue, Item item)
{
    const auto visit = [&](const auto& self, const std::string& fileName) -> void {
        if (std::find(item.documents.begin(), item.documents.end(), fileName) != item.documents.end())
            return;
        for (const std::string& link : catalogue.documents.at(fileName).links)
            self(self, link);
        item.documents.push_back(fileName);
    };
    visit(visit, item.root);
    catalogue.items.push_back(std::move(item));
}

// ---------------------------------------------------------------------------------------------
// Bolted joint: the bolt points along z, its washer lies on z = 0

constexpr double JointGrip = 26;

std::string AddBoltedJoint(Catalogue& catalogue)
{
    Product product("BOLTED_JOINT_M8", "Bolted joint M8");
    product.Add("ISO4014_M8x40.ZALPart", At(0, 0, 0));
    product.Add("ISO7089_M8.ZALPart", At(0, 0, 0));
    product.Add("ISO7089_M8.ZALPart", At(0, 0, WasherM8.thickness + JointGrip));
    product.Add("ISO4032_M8.ZALPart", At(0, 0, 2 * WasherM8.thickness + JointGrip));
    return AddProduct(catalogue, product);
}

// ---------------------------------------------------------------------------------------------
// Bearing unit: the housing stands on a plate, which is not part of it; the shaft runs along y

std::string AddBearingUnit(Catalogue& catalogue, const std::string& joint)
{
    constexpr double axisHeight = Housing47.axisHeight;
    constexpr double seatBegin = Housing47.bodyWidth / 2 - Housing47.seatDepth; ///< y at which the bearing begins
    constexpr double shaftSeatBegin = SteppedShaft20.lengths[0];
    constexpr double holeX = Housing47.holeDistanceX / 2;
    constexpr double holeY = Housing47.holeDistanceY / 2;
    constexpr Axes alongY{X, MinusZ, Y};
    constexpr Axes downwards{X, MinusY, MinusZ};

    Product product("BEARING_UNIT_20", "Bearing unit with shaft 20");
    product.Add("HOUSING_47.ZALPart", At(0, 0, 0));
    product.Add("ISO15_6204.ZALPart", At(0, seatBegin, axisHeight, alongY));
    product.Add("SHAFT_20x154.ZALPart", At(0, seatBegin - shaftSeatBegin, axisHeight, alongY));
    for (const double x : {-holeX, holeX})
        for (const double y : {-holeY, holeY})
            product.Add(joint, At(x, y, Housing47.baseHeight + WasherM8.thickness, downwards));
    return AddProduct(catalogue, product);
}

// ---------------------------------------------------------------------------------------------
// Profile frame: screw sets in corner joints in sides of a frame

/// From the surface of a profile to the head of a screw that holds a bracket.
constexpr double HeadHeight = WasherM6.thickness + Bracket40.thickness;
constexpr double BracketHole = (Bracket40.leg + Bracket40.thickness) / 2; ///< from the corner, along either leg

std::string AddScrewSet(Catalogue& catalogue)
{
    Product product("SCREW_SET_M6", "Screw, washer and slot nut M6");
    product.Add("ISO4017_M6x16.ZALPart", At(0, 0, 0));
    product.Add("ISO7089_M6.ZALPart", At(0, 0, 0));
    product.Add("SLOTNUT_8_M6.ZALPart", At(0, 0, HeadHeight));
    return AddProduct(catalogue, product);
}

/// The joint fills the corner between a profile along x below it and one along z at its -x side.
std::string AddCornerJoint(Catalogue& catalogue, const std::string& screwSet)
{
    Product product("CORNER_JOINT_40", "Corner joint 40");
    product.Add("BRACKET_40.ZALPart", At(0, 0, 0));
    product.Add(screwSet, At(BracketHole, 0, HeadHeight, {Y, X, MinusZ}));
    product.Add(screwSet, At(HeadHeight, 0, BracketHole, {MinusY, Z, MinusX}));
    return AddProduct(catalogue, product);
}

constexpr double ProfileHalf = Profile40.side / 2;
constexpr double ProfileLength = Profile40.length;
constexpr double UprightDistance = ProfileLength + 2 * ProfileHalf;
constexpr double FrameWidth = UprightDistance + 2 * ProfileHalf;

/// Two uprights along z and two rails along x between them; y = 0 is the middle of all.
std::string AddFrameSide(Catalogue& catalogue, const std::string& joint)
{
    constexpr Axes alongX{MinusZ, Y, X};
    constexpr double lowRail = 100;
    constexpr double highRail = ProfileLength - ProfileHalf;
    constexpr double left = ProfileHalf;
    constexpr double right = UprightDistance - ProfileHalf;

    Product product("FRAME_SIDE_480x400", "Side of a frame");
    product.Add("PROFILE_40x40_400.ZALPart", At(0, 0, 0));
    product.Add("PROFILE_40x40_400.ZALPart", At(UprightDistance, 0, 0));
    product.Add("PROFILE_40x40_400.ZALPart", At(left, 0, lowRail, alongX));
    product.Add("PROFILE_40x40_400.ZALPart", At(left, 0, highRail, alongX));
    product.Add(joint, At(left, 0, lowRail + ProfileHalf));
    product.Add(joint, At(right, 0, lowRail + ProfileHalf, {MinusX, MinusY, Z}));
    product.Add(joint, At(left, 0, highRail - ProfileHalf, {X, MinusY, MinusZ}));
    product.Add(joint, At(right, 0, highRail - ProfileHalf, {MinusX, Y, MinusZ}));
    return AddProduct(catalogue, product);
}

/// Two sides at y = 0 and opposite, and four rails along y between their uprights.
std::string AddFrame(Catalogue& catalogue, const std::string& side, const std::string& joint)
{
    constexpr Axes alongY{X, MinusZ, Y};
    Product product("FRAME_480x480x400", "Frame of profiles 40x40");
    product.Add(side, At(0, 0, 0));
    product.Add(side, At(0, UprightDistance, 0));
    for (const double x : {0.0, UprightDistance})
        for (const double z : {160.0, 300.0}) {
            product.Add("PROFILE_40x40_400.ZALPart", At(x, ProfileHalf, z, alongY));
            product.Add(joint, At(x, ProfileHalf, z + ProfileHalf, {Y, MinusX, Z}));
            product.Add(joint, At(x, UprightDistance - ProfileHalf, z + ProfileHalf, {MinusY, X, Z}));
        }
    return AddProduct(catalogue, product);
}

} // namespace

void AddAssemblies(Catalogue& catalogue)
{
    const std::string boltedJoint = AddBoltedJoint(catalogue);
    AddItem(catalogue, {.id = "bolted-joint-m8",
                        .title = "Bolted joint M8, grip 26",
                        .category = "Assemblies",
                        .description = "Bolt, two washers and nut",
                        .dimensions = {{"d", 8}, {"grip", JointGrip}},
                        .delivery = Delivery::Archive,
                        .root = boltedJoint,
                        .documents = {}});

    const std::string bearingUnit = AddBearingUnit(catalogue, boltedJoint);
    AddItem(catalogue, {.id = "bearing-unit-20",
                        .title = "Bearing unit with shaft 20",
                        .category = "Assemblies",
                        .description = "Housing, bearing 6204, stepped shaft and four bolted joints",
                        .dimensions = {{"d", Bearing6204.bore}, {"h", Housing47.axisHeight}},
                        .delivery = Delivery::Archive,
                        .root = bearingUnit,
                        .documents = {}});

    const std::string joint = AddCornerJoint(catalogue, AddScrewSet(catalogue));
    const std::string frame = AddFrame(catalogue, AddFrameSide(catalogue, joint), joint);
    AddItem(catalogue, {.id = "profile-frame-480",
                        .title = "Frame of profiles 480x480x400",
                        .category = "Assemblies",
                        .description = "Two sides and four rails, joined by brackets",
                        .dimensions = {{"x", FrameWidth}, {"y", FrameWidth}, {"z", ProfileLength}},
                        .delivery = Delivery::Archive,
                        .root = frame,
                        .documents = {}});
}

} // namespace catalogue
