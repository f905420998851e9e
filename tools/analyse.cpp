// A plug-in of Clang: what looks through a translation unit sees the declarations of this project alone. Those of
// system headers are nine tenths of most units, and what is found in them is not told anyway.
#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/AST/Decl.h>
#include <clang/Basic/SourceManager.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

#include <memory>
#include <string>
#include <vector>

namespace {

class OwnDeclarations : public clang::ASTConsumer {
public:
    void HandleTranslationUnit(clang::ASTContext& context) override
    {
        std::vector<clang::Decl*> own;
        for (clang::Decl* declaration : context.getTranslationUnitDecl()->decls())
            if (!context.getSourceManager().isInSystemHeader(declaration->getLocation()))
                own.push_back(declaration);
        context.setTraversalScope(own);
    }
};

class BeforeTheAnalysis : public clang::PluginASTAction {
    std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance&, llvm::StringRef) override
    {
        return std::make_unique<OwnDeclarations>();
    }
    bool ParseArgs(const clang::CompilerInstance&, const std::vector<std::string>&) override { return true; }
    ActionType getActionType() override { return AddBeforeMainAction; }
};

const clang::FrontendPluginRegistry::Add<BeforeTheAnalysis> plugIn("own-declarations", "");

} // namespace
