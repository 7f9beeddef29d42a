// One case of the campaign on a stage: brings the plug-in to where the act begins, arms the faults, plays the
// act, judges what came of it, and has the plug-in start afresh. Entry point: run(). GUI thread only.

#pragma once

#include "case.h"
#include "expectation.h"
#include "footprint.h"
#include "saboteur.h"
#include "stage.h"

#include <QStringList>

#include <optional>

namespace Vantor::campaign {

class Trial {
public:
    explicit Trial(Stage& theStage) : stage(theStage), saboteur(theStage.adapter()) {}

    struct Result {
        int faultsStruck = 0;
        QStringList complaints; ///< what was wrong; empty when all was right
    };
    Result run(const Case& tried);
    /// To be called before the first case: has the plug-in start and proves that it works. What was wrong.
    QStringList warmUp() {
        startAfresh();
        return result.complaints;
    }

private:
    void prepare();
    void arm(const Fault& fault);
    void disarm();
    void play();
    void awaitAftermath();
    void judge();
    void recover();
    void startAfresh();
    int faultsStruck() const;
    unsigned callsMade(virtual_adapter_operation operation) const;

    void playStart();
    void playStream();
    void playTransfer(int slotNumber, const QString& file);
    void playCapture();
    void playStop();
    void playInitialize();
    void playReconnect();

    bool isComplete() const;
    bool isConnected() const { return stage.connection() == QLatin1String("connected"); }
    bool isLosing(virtual_adapter_operation operation) const;
    bool hasFailed(virtual_adapter_operation operation, unsigned from) const;
    bool has(virtual_adapter_operation operation, unsigned kth) const;
    unsigned endingSeen() const;
    void check(bool isRight, const QString& otherwise) {
        if (!isRight)
            result.complaints += otherwise;
    }
    void awaitOr(const std::function<bool()>& condition, const char* what) {
        check(Stage::until(condition), QStringLiteral("waited in vain for ") + QLatin1String(what));
    }

    Stage& stage;
    Saboteur saboteur;
    Case current;
    Result result;
    bool libraryFailed = false;
    int returns = 0; ///< of the adapter, on another path
    virtual_adapter_statistics before{};
    virtual_adapter_library_statistics libraryBefore{};
    std::optional<Footprint> usual;
};

} // namespace Vantor::campaign
