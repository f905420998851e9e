#include "openhost/exchange/StepImport.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/exchange/DocumentNames.h"
#include "openhost/exchange/ExchangeError.h"
#include "openhost/exchange/SoundShape.h"
#include "openhost/exchange/StepParameters.h"
#include "openhost/exchange/StepProducts.h"
#include "openhost/geometry/KernelFailure.h"

#include <Standard_Failure.hxx>

#include <fstream>
#include <map>
#include <utility>
#include <vector>

namespace openhost {

namespace {

using Warn = std::function<void(const std::string&)>;

/// How much of the work the reading of the file is; the rest is the making of documents.
constexpr double PartOfReading = 0.6;

/// Hands on the first warnings and counts the others.
class BoundedWarnings {
public:
    explicit BoundedWarnings(const Warn& warn) : warn_(warn) {}

    void operator()(const std::string& line)
    {
        if (++count_ <= MaximumImportWarnings)
            warn_(ReadableText(line));
    }

    void Finish() const
    {
        if (count_ > MaximumImportWarnings)
            warn_(std::to_string(count_ - MaximumImportWarnings) + " more warnings");
    }

private:
    const Warn& warn_;
    std::size_t count_ = 0;
};

/// Tells each percent once.
class Percents {
public:
    explicit Percents(const std::function<void(int)>& tell) : tell_(tell) {}

    void operator()(double done)
    {
        const int percent = static_cast<int>(100 * done);
        if (percent > last_)
            tell_(last_ = percent);
    }

private:
    const std::function<void(int)>& tell_;
    int last_ = -1;
};

class DocumentMaker {
public:
    DocumentMaker(StepProducts products, const std::filesystem::path& file, const std::filesystem::path& folder,
                  const Warn& warn)
        : products_(std::move(products.products)), folder_(folder), warn_(warn)
    {
        fallback_ = ReadableFileName(file.stem().string());
        if (fallback_.empty())
            fallback_ = "Product";
        partNumbers_.resize(products_.size());
        if (products.roots.size() != 1)
            AddRoot(products.roots);
        // Fathers first, so that the root has the name that it was given.
        for (std::size_t product = products_.size(); product > 0; --product)
            NamePart(product - 1);
    }

    std::string Write(const std::function<void(double)>& tell)
    {
        for (std::size_t product = 0; product < products_.size(); ++product) {
            WriteOne(product);
            products_[product].shape.Nullify();
            products_[product].colors.Clear();
            tell(static_cast<double>(product + 1) / static_cast<double>(products_.size()));
        }
        return FileName(products_.size() - 1);
    }

private:
    void AddRoot(const std::vector<std::size_t>& roots)
    {
        StepProduct root;
        root.name = fallback_;
        root.isAssembly = true;
        for (const std::size_t product : roots)
            root.instances.push_back({{}, product, IdentityPlacement});
        products_.push_back(std::move(root));
        partNumbers_.emplace_back();
    }

    void NamePart(std::size_t product)
    {
        std::string wanted = ReadableFileName(products_[product].id);
        if (wanted.empty())
            wanted = ReadableFileName(products_[product].name);
        if (wanted.empty())
            wanted = fallback_;
        partNumbers_[product] = names_.Take(wanted);
        if (partNumbers_[product] != wanted)
            warn_(wanted + ": there is another product with this number; this one becomes " + partNumbers_[product]);
    }

    std::string FileName(std::size_t product) const
    {
        return partNumbers_[product] + (products_[product].isAssembly ? ".ZALProduct" : ".ZALPart");
    }

    void WriteOne(std::size_t product) const
    {
        const std::string name = FileName(product);
        std::string bytes;
        try {
            bytes = BuildDocument(Make(product));
        } catch (const CompoundFileError& error) {
            throw ExchangeError(name + " cannot be made: " + error.what());
        }
        std::ofstream file(folder_ / name, std::ios::binary);
        if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush())
            throw ExchangeError(name + " cannot be written");
    }

    CadDocument Make(std::size_t number) const
    {
        const StepProduct& product = products_[number];
        CadDocument document;
        document.kind = product.isAssembly ? DocumentKind::Product : DocumentKind::Part;
        document.partNumber = partNumbers_[number];
        document.description = ReadableText(product.description);
        const std::string id = ReadableText(product.id);
        const std::string name = ReadableText(product.name);
        if (!id.empty() && id != document.partNumber)
            document.parameters.push_back({StepIdParameter, id});
        if (!name.empty() && name != document.partNumber) {
            document.nomenclature = name;
            document.parameters.push_back({StepNameParameter, name});
        }
        for (const std::string& layer : product.layers)
            document.parameters.push_back({LayerParameter, ReadableText(layer)});
        if (product.isAssembly)
            AddChildren(product, document);
        else
            document.geometry = EncodeSoundShape(product.shape, product.colors, [&](const std::string& line) {
                warn_(document.partNumber + ": " + line);
            });
        return document;
    }

    void AddChildren(const StepProduct& product, CadDocument& document) const
    {
        InstanceNames names;
        std::map<std::size_t, std::uint32_t> links;
        for (const StepProduct::Instance& instance : product.instances) {
            const auto [link, isNew] =
                links.try_emplace(instance.product, static_cast<std::uint32_t>(document.links.size()));
            if (isNew)
                document.links.push_back(FileName(instance.product));
            document.children.push_back({names.Take(ReadableText(instance.name), partNumbers_[instance.product]),
                                         link->second, instance.placement});
        }
    }

    std::vector<StepProduct> products_;
    const std::filesystem::path& folder_;
    const Warn& warn_;
    std::string fallback_; ///< name of what the file does not name
    DocumentNames names_;
    std::vector<std::string> partNumbers_;
};

} // namespace

std::string ImportStep(const std::filesystem::path& file, const std::filesystem::path& folder, const Warn& warn,
                       const std::function<void(int percent)>& tell)
{
    BoundedWarnings warnings(warn);
    const Warn warnBounded = std::ref(warnings);
    Percents percents(tell);
    try {
        StepProducts products =
            ReadStepProducts(file, warnBounded, [&](double done) { percents(PartOfReading * done); });
        DocumentMaker maker(std::move(products), file, folder, warnBounded);
        std::string root = maker.Write([&](double done) { percents(PartOfReading + (1 - PartOfReading) * done); });
        warnings.Finish();
        return root;
    } catch (const Standard_Failure& failure) {
        throw ExchangeError(file.string() + ": " + ReasonOf(failure));
    } catch (const ExchangeError& error) {
        throw ExchangeError(file.string() + ": " + error.what());
    }
}

} // namespace openhost
