#pragma once
// TFaultPlan makes one call of many fail, or all from one on, and TFaultySession puts a plan
// between a database and its driver. A test runs the same work once for each call that it makes,
// failing another one each time.

#include <functional>
#include <memory>
#include <string>

#include "perlayer/corekit/TDriver.h"
#include "perlayer/platform/Exception.h"

namespace perlayer {

PERLAYER_EXCEPTION(EPlannedFault, Exception);

class TFaultPlan {
 public:
  enum class TMode { once, fromThereOn };

  // The `call`th call from now on fails; 0: none does.
  void FailAt(int call, TMode mode = TMode::once) {
    FCalls = 0;
    FFailAt = call;
    FMode = mode;
    FFailOn = nullptr;
  }
  // The next call of that name fails, once `passing` have passed.
  void FailOn(const char* where, int passing = 0) {
    FailAt(0);
    FFailOn = where;
    FPassing = passing;
  }
  // Every call that may fail comes by here; one of the driver tells its statement, and a bind its
  // parameter.
  void Pass(const char* where, const std::string& statement = {}, int parameter = -1) {
    if (FPauses > 0) return;
    ++FCalls;
    const bool isNamed =
        FFailOn != nullptr && std::string_view(FFailOn) == where && FPassing-- == 0;
    if (!isNamed && FCalls != FFailAt && !(FMode == TMode::fromThereOn && Failed())) return;
    if (isNamed) FFailOn = nullptr;
    if (FCalls == FFailAt && OnFault) OnFault(where, statement, parameter);
    throw EPlannedFault(where);
  }
  int Calls() const { return FCalls; }
  bool Failed() const { return FFailAt > 0 && FCalls >= FFailAt; }

  // For its length calls pass and are not counted.
  class TPause {
   public:
    explicit TPause(TFaultPlan& plan) : FPlan(plan) { ++FPlan.FPauses; }
    ~TPause() { --FPlan.FPauses; }
    TPause(const TPause&) = delete;
    TPause& operator=(const TPause&) = delete;

   private:
    TFaultPlan& FPlan;
  };

  // Hears of the first fault.
  std::function<void(const char* where, const std::string& statement, int parameter)> OnFault;

 private:
  int FCalls = 0;
  int FFailAt = 0;
  int FPauses = 0;
  TMode FMode = TMode::once;
  const char* FFailOn = nullptr;
  int FPassing = 0;
};

// The driver that it is given, with every call that may raise going by the plan. It counts the
// statements that somebody has taken and not given back, and the runs of all statements.
class TFaultySession : public TDriverSession {
 public:
  TFaultySession(std::unique_ptr<TDriverSession> inner, TFaultPlan& plan)
      : FInner(std::move(inner)), FPlan(plan) {}

  int Taken() const { return FTaken; }
  int Runs() const { return FRuns; }
  int FailedCommits() const { return FFailedCommits; }
  TDriverSession& Inner() { return *FInner; }

  TDriverStatement* Take(const TStatementTextPtr& text) override {
    FPlan.Pass("Take", text->Text());
    return Wrapped(text, &TDriverSession::Take);
  }
  TDriverStatement* TakeForLargeObjects(const TStatementTextPtr& text) override {
    FPlan.Pass("TakeForLargeObjects", text->Text());
    return Wrapped(text, &TDriverSession::TakeForLargeObjects);
  }
  void GiveBack(TDriverStatement* statement) noexcept override {
    FInner->GiveBack(static_cast<TStatement*>(statement)->FInner);
    delete statement;
    --FTaken;
  }
  bool Mark() override {
    FPlan.Pass("Mark");
    return FInner->Mark();
  }
  void Keep(bool opened) override {
    FPlan.Pass("Keep");
    FInner->Keep(opened);
  }
  void Undo(bool opened) noexcept override { FInner->Undo(opened); }
  void Begin() override {
    FPlan.Pass("Begin");
    FInner->Begin();
  }
  void Commit() override {
    try {
      FPlan.Pass("Commit");
    } catch (...) {
      ++FFailedCommits;
      FInner->Rollback();  // as a failed commit leaves a session
      throw;
    }
    FInner->Commit();
  }
  void Rollback() override {
    FInner->Rollback();  // one that fails has ended the transaction too
    FPlan.Pass("Rollback");
  }
  bool InTransaction() const override { return FInner->InTransaction(); }
  std::string Translated(const TStatementTextPtr& text) override {
    return FInner->Translated(text);
  }
  std::vector<TColumnInfo> TableColumns(std::string_view owner, std::string_view table) override {
    return FInner->TableColumns(owner, table);
  }

 private:
  class TLargeObject : public TDriverLargeObject {
   public:
    TLargeObject(TFaultPlan& plan, std::unique_ptr<TDriverLargeObject> inner)
        : FInner(std::move(inner)), FPlan(plan) {}
    std::int64_t Size() const override { return FInner->Size(); }
    void Read(std::int64_t at, void* bytes, std::size_t size) override {
      FPlan.Pass("Read");
      FInner->Read(at, bytes, size);
    }
    void Write(std::int64_t at, const void* bytes, std::size_t size) override {
      FPlan.Pass("Write");
      FInner->Write(at, bytes, size);
    }
    void Resize(std::int64_t size) override {
      FPlan.Pass("Resize");
      FInner->Resize(size);
    }

   private:
    const std::unique_ptr<TDriverLargeObject> FInner;
    TFaultPlan& FPlan;  // an object may outlive its session
  };

  using TTake = TDriverStatement* (TDriverSession::*)(const TStatementTextPtr&);
  TDriverStatement* Wrapped(const TStatementTextPtr& text, TTake take) {
    auto statement = std::make_unique<TStatement>(*this, text);
    statement->FInner = ((*FInner).*take)(text);
    ++FTaken;
    return statement.release();
  }

  class TStatement : public TDriverStatement {
   public:
    TStatement(TFaultySession& session, const TStatementTextPtr& text)
        : FSession(session), FText(text) {}
    void BindNull(int parameter) override { Inner("BindNull", parameter).BindNull(parameter); }
    void BindText(int parameter, std::string_view text) override {
      Inner("BindText", parameter).BindText(parameter, text);
    }
    void BindNumber(int parameter, double value) override {
      Inner("BindNumber", parameter).BindNumber(parameter, value);
    }
    void BindBlob(int parameter, std::span<const std::byte> bytes) override {
      Inner("BindBlob", parameter).BindBlob(parameter, bytes);
    }
    bool Step() override {
      try {
        FSession.FPlan.Pass("Step", FText->Text());
      } catch (...) {
        Reset();  // as a failed step leaves a statement
        throw;
      }
      if (!FRunning) ++FSession.FRuns;
      FRunning = true;
      return FInner->Step();
    }
    void Reset() noexcept override {
      FRunning = false;
      FInner->Reset();
    }
    bool ReadOnly() const override { return FInner->ReadOnly(); }
    std::int64_t RowsAffected() const override { return FInner->RowsAffected(); }
    const std::vector<int>& Returns() const override { return FInner->Returns(); }
    void Returned(int parameter, TCell& cell) override { FInner->Returned(parameter, cell); }
    std::unique_ptr<TDriverLargeObject> OpenReturned(int parameter) override {
      return Opened(Inner("OpenReturned").OpenReturned(parameter));
    }
    std::unique_ptr<TDriverLargeObject> OpenLargeObject(int column) override {
      return Opened(Inner("OpenLargeObject").OpenLargeObject(column));
    }
    std::shared_ptr<const TColumnLayout> Layout() override { return Inner("Layout").Layout(); }
    void Cell(int column, TCell& cell) override { Inner("Cell").Cell(column, cell); }

    TDriverStatement* FInner = nullptr;

   private:
    std::unique_ptr<TDriverLargeObject> Opened(std::unique_ptr<TDriverLargeObject> inner) const {
      if (inner == nullptr) return nullptr;
      return std::make_unique<TLargeObject>(FSession.FPlan, std::move(inner));
    }
    // The statement itself, for a call that the plan lets pass.
    TDriverStatement& Inner(const char* call, int parameter = -1) const {
      FSession.FPlan.Pass(call, FText->Text(), parameter);
      return *FInner;
    }

    TFaultySession& FSession;
    const TStatementTextPtr FText;
    bool FRunning = false;
  };

  const std::unique_ptr<TDriverSession> FInner;
  TFaultPlan& FPlan;
  int FTaken = 0;
  int FRuns = 0;
  int FFailedCommits = 0;
};

}  // namespace perlayer
