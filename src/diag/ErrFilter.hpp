#pragma once
// Filters over error lists. Each filter is itself a list, so filters stack. A filter walks the
// wrapped list once at creation (linear, allocates the kept list), keeps the errors that pass in
// index order and never changes afterwards; its Description reads and writes the wrapped list's.

#include <cstdint>
#include <vector>

#include "diag/ErrList.hpp"

namespace xylem {

// Common part of the dropping filters. Raises CyShouldNeverHappenException for a null list.
class CyXMLErrsFilter : public IyXMLErrs {
 public:
  using TyDrops = bool (*)(const IyXMLErr& Err);
  CyXMLErrsFilter(IyXMLErrsPtr Errs, TyDrops Drops);

  std::u16string getDescription() const override { return Wrapped_->getDescription(); }
  void setDescription(std::u16string Description) override {
    Wrapped_->setDescription(std::move(Description));
  }
  int32_t getCount() const override { return static_cast<int32_t>(Kept_.size()); }
  const IyXMLErrPtr& getXMLErr(int32_t Index) const override;

 private:
  IyXMLErrsPtr Wrapped_;
  std::vector<IyXMLErrPtr> Kept_;
};

// Drops the schema identity checks of ID, IDREF and duplicate ID (cvc-id.1, cvc-id.2, cvc-id.3).
class CyXMLErrsIgnoreIDREF final : public CyXMLErrsFilter {
 public:
  explicit CyXMLErrsIgnoreIDREF(IyXMLErrsPtr Errs) : CyXMLErrsFilter(std::move(Errs), Drops) {}
  static bool Drops(const IyXMLErr& Err);
};

// Drops XTDE0040 (the named initial template does not exist) and every warning.
class CyXMLErrsIgnoreInitialTemplateDoesNotExistAndWarning final : public CyXMLErrsFilter {
 public:
  explicit CyXMLErrsIgnoreInitialTemplateDoesNotExistAndWarning(IyXMLErrsPtr Errs)
      : CyXMLErrsFilter(std::move(Errs), Drops) {}
  static bool Drops(const IyXMLErr& Err);
};

// Drops FODC0002, FODC0005, FOUT1170 and every termination.
class CyXMLErrsIgnoreTermination final : public CyXMLErrsFilter {
 public:
  explicit CyXMLErrsIgnoreTermination(IyXMLErrsPtr Errs)
      : CyXMLErrsFilter(std::move(Errs), Drops) {}
  static bool Drops(const IyXMLErr& Err);
};

// Drops every warning.
class CyXMLErrsIgnoreWarnings final : public CyXMLErrsFilter {
 public:
  explicit CyXMLErrsIgnoreWarnings(IyXMLErrsPtr Errs) : CyXMLErrsFilter(std::move(Errs), Drops) {}
  static bool Drops(const IyXMLErr& Err);
};

// Drops every warning and, whatever their severity, FORG0001, XTDE0980 and XPTY0004.
class CyXMLErrsIgnoreWarningsFORG0001XTDE0980XPTY0004 final : public CyXMLErrsFilter {
 public:
  explicit CyXMLErrsIgnoreWarningsFORG0001XTDE0980XPTY0004(IyXMLErrsPtr Errs)
      : CyXMLErrsFilter(std::move(Errs), Drops) {}
  static bool Drops(const IyXMLErr& Err);
};

// Caps the count: Count is the lesser of the wrapped list's count and kMaxCount, and errors are
// read from the wrapped list. Nothing is copied.
class CyXMLErrsMaxCount final : public IyXMLErrs {
 public:
  static constexpr int32_t kMaxCount = 100;
  explicit CyXMLErrsMaxCount(IyXMLErrsPtr Errs);

  std::u16string getDescription() const override { return Wrapped_->getDescription(); }
  void setDescription(std::u16string Description) override {
    Wrapped_->setDescription(std::move(Description));
  }
  int32_t getCount() const override;
  const IyXMLErrPtr& getXMLErr(int32_t Index) const override;

 private:
  IyXMLErrsPtr Wrapped_;
};

}  // namespace xylem
