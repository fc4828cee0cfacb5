#pragma once

#include "system/ValueLedger.h"
#include "tweaks/Tweak.h"
#include "ui/pages/Page.h"
#include "ui/theme/Icons.h"

#include <QHash>
#include <QList>
#include <QSet>

class QGridLayout;
class QPushButton;
class QShowEvent;
class QThreadPool;

namespace torvelane {

class AppContext;
class ScrollColumn;
class ToggleSwitch;
class TweakCard;

/// Every tweak of one catalogue section as a grid of cards with switches, and one button for all of them.
///
/// Widgets belong to the GUI thread; every call that changes the system runs on a pool of one thread that the page owns,
/// in the order of the clicks. Switches move at once and are put right if the engine says no.
class SectionTweaksPage : public Page {
    Q_OBJECT

public:
    SectionTweaksPage(AppContext& context, const QString& sectionKey, IconId icon, Tier pageTier,
                      QWidget* parent = nullptr);

    /// Drops the work that hasn't begun and waits for the rest.
    ~SectionTweaksPage() override;

    /// Locks its cards one by one.
    [[nodiscard]] bool locksItself() const override { return true; }

    /// Builds the cards anew if the tier isn't the one they were built for.
    void onTierChanged(Tier tier) override;

    /// The same as the destructor's wait, while the page stays.
    void finishWork() override;

    /// How many columns fit a viewport of this width.
    [[nodiscard]] static int columnsFor(int viewportWidth);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    /// The ids that a batch can touch, by their switches.
    struct Division {
        QStringList applied;
        QStringList notApplied;
    };

    /// Work on one id that hasn't ended yet.
    struct Work {
        int jobs = 0;
        bool desired = false; ///< The state that the last of them asks for.
    };

    void buildCards();
    void rebuildCards();
    [[nodiscard]] TweakCard* buildCard(const TweakDefinition& tweak, bool applied);
    [[nodiscard]] QWidget* makeSwitch(const TweakDefinition& tweak, bool applied, QWidget* card);
    [[nodiscard]] QWidget* makePill(const TweakDefinition& tweak, QWidget* card);
    void layOutCards();

    void lookForDrift();
    void noteDrift(const QString& id, const ValueLedger::Drift& drift);

    void toggleTweak(const QString& id, bool desired);
    void applyAllRecommended();
    [[nodiscard]] bool confirmBatch(QStringList& ids, const QStringList& applied);
    [[nodiscard]] QString named(const QString& id, const QString& line) const;
    [[nodiscard]] Division divide() const;
    [[nodiscard]] bool isAvailable(const TweakDefinition& tweak) const;
    [[nodiscard]] bool isBatchOpen() const;
    void beginWork(const QStringList& ids, bool desired);
    void endWork(const QStringList& ids);
    void setSwitch(const QString& id, bool on);
    void synchronise(const QString& id);
    void refreshActionButton();

    AppContext* m_context;
    QString m_sectionKey;
    IconId m_icon; ///< On each of the cards.
    Tier m_pageTier;
    Tier m_builtTier = Tier::None;
    ScrollColumn* m_scroll = nullptr;
    QGridLayout* m_grid = nullptr;
    QList<TweakCard*> m_cards;
    QHash<QString, TweakCard*> m_cardsById;
    QStringList m_ids; ///< Of the cards, in their order.
    bool m_wasShown = false;
    QHash<QString, ToggleSwitch*> m_switches; ///< Only of cards that aren't locked.
    QHash<QString, Work> m_work;
    QPushButton* m_actionButton = nullptr;
    QThreadPool* m_pool;
    int m_columns = 0; ///< 0 until laid out.
};

} // namespace torvelane
