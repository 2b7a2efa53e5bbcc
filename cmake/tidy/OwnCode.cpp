#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/Basic/SourceManager.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

#include <memory>
#include <string>
#include <vector>

namespace {

/// Has clang-tidy's checks walk through this project's declarations alone. Without it each of them
/// walks through every header of the system that a file includes, which is many times as much code,
/// and what it finds there is thrown away. What such a header declares is known to them still.
class OwnCode final : public clang::ASTConsumer {
 public:
  void HandleTranslationUnit(clang::ASTContext& context) override {
    const auto& sources = context.getSourceManager();
    std::vector<clang::Decl*> own;
    // Those of a precompiled header, which holds headers of the system only, are left unread.
    for (auto* const declaration : context.getTranslationUnitDecl()->noload_decls()) {
      const auto place = sources.getExpansionLoc(declaration->getLocation());
      if (!declaration->isFromASTFile() && !sources.isInSystemHeader(place)) {
        own.push_back(declaration);
      }
    }
    context.setTraversalScope(own);
  }
};

class OwnCodeAction final : public clang::PluginASTAction {
 public:
  std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance& /*compiler*/,
                                                        llvm::StringRef /*file*/) override {
    return std::make_unique<OwnCode>();
  }

  bool ParseArgs(const clang::CompilerInstance& /*compiler*/,
                 const std::vector<std::string>& /*arguments*/) override {
    return true;
  }

  ActionType getActionType() override { return AddBeforeMainAction; }
};

const clang::FrontendPluginRegistry::Add<OwnCodeAction> registered("own-code",
                                                                   "checks own code alone");

}  // namespace
