// The products that a document points to, on a document kernel of the test's own.

#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "openhost/cad/DocumentKernel.h"
#include "openhost/cad/PointedSymbols.h"
#include "tests/download/DownloadFixture.h"
#include "tests/support/CallLog.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Installed.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;

/// Every path is a document with one storage in it. Calls are noted with their arguments.
class OneStorageKernel final : public DocumentKernel {
public:
    explicit OneStorageKernel(CallLog& log) : log_(log) {}

    HRESULT OpenRoot(const ZALUnicodeString& path, ZALStorage** storage) override
    {
        log_.Note("root " + ToUtf8(path));
        *storage = SUCCEEDED(rootResult) ? new Storage(*this, "root") : nullptr;
        return rootResult;
    }
    ZALBaseUnknown* CreateLinkManager(ZALStorage& storage) override
    {
        log_.Note("manager of " + static_cast<Storage&>(storage).name);
        if (!hasManager)
            return nullptr;
        if (!hasSymbols)
            return new Object<ZALBaseUnknown>(*this);
        return new Object<PointedSymbols>(*this, pointed, pointedResult);
    }

    HRESULT rootResult = S_OK;
    HRESULT storageResult = S_OK;
    HRESULT closeResult = S_OK;
    bool hasManager = true;
    bool hasSymbols = true; ///< of the manager
    HRESULT pointedResult = S_OK;
    std::vector<ZALUnicodeString> pointed;
    int openStorages = 0;  ///< that have not been closed
    int livingObjects = 0; ///< storages and managers that have not been released

private:
    template <class Base>
    class Object : public Base {
    public:
        template <class... Arguments>
        explicit Object(OneStorageKernel& owner, Arguments&&... arguments)
            : Base(std::forward<Arguments>(arguments)...), kernel(owner)
        {
            ++kernel.livingObjects;
        }
        ~Object() override { --kernel.livingObjects; }

    protected:
        OneStorageKernel& kernel;
    };

    class Storage : public Object<ZALStorage> {
    public:
        Storage(OneStorageKernel& owner, std::string storageName) : Object(owner), name(std::move(storageName))
        {
            ++kernel.openStorages;
        }
        HRESULT OpenStorage(const ZALUnicodeString& storageName, int create, ZALStorage** storage) override
        {
            kernel.log_.Note("storage " + ToUtf8(storageName) + " " + std::to_string(create));
            *storage = SUCCEEDED(kernel.storageResult) ? new Storage(kernel, "storage") : nullptr;
            return kernel.storageResult;
        }
        HRESULT Close(int mode) override
        {
            --kernel.openStorages;
            kernel.log_.Note("end of " + name + " " + std::to_string(mode));
            return kernel.closeResult;
        }

        const std::string name;
    };

    CallLog& log_;
};

class PointedProducts : public ::testing::Test {
protected:
    PointedProducts() { kernel_->pointed = {"/q/B.ZALProduct", "/q/c.ZALPart"}; }
    ~PointedProducts() override
    {
        EXPECT_EQ(0, kernel_->openStorages);
        EXPECT_EQ(0, kernel_->livingObjects);
    }
    HRESULT Get()
    {
        ZALListValZALUnicodeString list;
        const HRESULT result = GetPointedProducts("/p/A.ZALProduct", list);
        names_ = TextsOf(list);
        return result;
    }

    CallLog log_;
    Installed<OneStorageKernel> kernel_{log_};
    Texts names_;
};

TEST_F(PointedProducts, AreReadFromAStorageThatIsClosedAtOnce)
{
    EXPECT_EQ(S_OK, Get());
    EXPECT_THAT(names_, ElementsAre("B.ZALProduct"));
    EXPECT_THAT(log_.Take(), ElementsAre("root /p/A.ZALProduct", "storage ZALOR1 0", "manager of storage",
                                         "end of storage 0", "end of root 0"));
}

TEST_F(PointedProducts, WithoutSymbolsAnswerAsTheStorage)
{
    kernel_->hasSymbols = false;
    for (const HRESULT result : {S_OK, S_FALSE, HRESULT{5}}) {
        kernel_->storageResult = result;
        EXPECT_EQ(result, Get());
    }
}

TEST_F(PointedProducts, AnswerAsTheQuery)
{
    kernel_->storageResult = S_FALSE;
    for (const HRESULT result : {S_OK, HRESULT{5}, E_INVALIDARG}) {
        kernel_->pointedResult = result;
        EXPECT_EQ(result, Get());
        EXPECT_THAT(names_, ElementsAre("B.ZALProduct")) << result;
    }
}

TEST_F(PointedProducts, FailWithOneAnswerWhateverTheHostAnswers)
{
    kernel_->rootResult = E_INVALIDARG;
    EXPECT_EQ(E_FAIL, Get());
    kernel_->rootResult = S_OK;
    kernel_->storageResult = E_INVALIDARG;
    EXPECT_EQ(E_FAIL, Get());
    kernel_->storageResult = S_FALSE;
    kernel_->hasManager = false;
    EXPECT_EQ(E_FAIL, Get());
}

TEST_F(PointedProducts, DoNotDependOnTheClosing)
{
    kernel_->closeResult = E_FAIL;
    EXPECT_EQ(S_OK, Get());
}

TEST_F(PointedProducts, WithoutMemoryLeaveNothingOpen)
{
    kernel_->pointed = {"/q/a product of some length.ZALProduct"};
    const ZALUnicodeString product = "/p/A.ZALProduct";
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  kernel_->openStorages = 0;
                  ZALListValZALUnicodeString names;
                  try {
                      memory.During([&] { GetPointedProducts(product, names); });
                  } catch (const std::bad_alloc&) {
                      EXPECT_TRUE(memory.HasRunOut());
                  }
                  EXPECT_EQ(0, kernel_->openStorages);
                  EXPECT_EQ(0, kernel_->livingObjects);
              }),
              0);
}

} // namespace

} // namespace openhost::testing
