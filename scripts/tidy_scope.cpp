// Loaded into clang-tidy by scripts/check-tidy: the checks walk what stands in our own files, and not the ten
// times as much of the system headers, where findings are never shown. Everything is still parsed, and looked
// up wherever it stands.
#include <memory>
#include <string>
#include <vector>

#include "clang/AST/ASTConsumer.h"
#include "clang/AST/ASTContext.h"
#include "clang/Basic/SourceManager.h"
#include "clang/Frontend/FrontendPluginRegistry.h"

namespace {

class OwnFiles final : public clang::ASTConsumer {
 public:
  void HandleTranslationUnit(clang::ASTContext& context) override {
    const clang::SourceManager& files = context.getSourceManager();
    std::vector<clang::Decl*> own;
    for (clang::Decl* declaration : context.getTranslationUnitDecl()->decls()) {
      const clang::SourceLocation place = files.getExpansionLoc(declaration->getLocation());
      if (place.isValid() && !files.isInSystemHeader(place)) {
        own.push_back(declaration);
      }
    }
    context.setTraversalScope(own);
  }
};

class BeforeTheChecks final : public clang::PluginASTAction {
  std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance& /*compiler*/,
                                                        llvm::StringRef /*file*/) override {
    return std::make_unique<OwnFiles>();
  }
  bool ParseArgs(const clang::CompilerInstance& /*compiler*/,
                 const std::vector<std::string>& /*arguments*/) override {
    return true;
  }
  ActionType getActionType() override { return AddBeforeMainAction; }
};

const clang::FrontendPluginRegistry::Add<BeforeTheChecks> added("own-files", "leaves system headers out");

}  // namespace
