#include "ui/pages/AccessibleTweakCard.h"

#include "ui/pages/TweakCard.h"

#include <QAccessibleWidget>
#include <QPointer>

namespace torvelane {

namespace {

/// A text that no widget stands behind. Belongs to Qt's table of interfaces, and is taken out of it by the card's.
class PaintedLabel : public QAccessibleInterface {
public:
    PaintedLabel(TweakCard* card, TweakCard::Text which) : m_card(card), m_which(which) { }

    bool isValid() const override { return m_card != nullptr; }
    QObject* object() const override { return nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(m_card); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::StaticText; }

    QString text(QAccessible::Text kind) const override
    {
        return m_card && kind == QAccessible::Name ? m_card->text(m_which) : QString();
    }
    void setText(QAccessible::Text, const QString&) override { }

    QRect rect() const override
    {
        if (!m_card)
            return {};
        const QRect area = m_card->textArea(m_which);
        return {m_card->mapToGlobal(area.topLeft()), area.size()};
    }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.readOnly = true;
        state.invisible = !m_card || !m_card->isVisible();
        return state;
    }

private:
    QPointer<TweakCard> m_card;
    TweakCard::Text m_which;
};

class AccessibleCard : public QAccessibleWidget {
public:
    explicit AccessibleCard(TweakCard* card) : QAccessibleWidget(card, QAccessible::Grouping), m_card(card) { }

    ~AccessibleCard() override
    {
        for (const QAccessible::Id id : std::as_const(m_labels))
            QAccessible::deleteAccessibleInterface(id);
    }

    QString text(QAccessible::Text kind) const override
    {
        if (kind != QAccessible::Description)
            return QAccessibleWidget::text(kind);
        return m_card->content().effect ? m_card->content().effect() : QString();
    }

    int childCount() const override { return labelCount() + QAccessibleWidget::childCount(); }

    QAccessibleInterface* child(int index) const override
    {
        if (index >= 0 && index < labelCount())
            return QAccessible::accessibleInterface(labels().at(index));
        return QAccessibleWidget::child(index - labelCount());
    }

    int indexOfChild(const QAccessibleInterface* child) const override
    {
        for (int i = 0; i < labelCount(); ++i) {
            if (this->child(i) == child)
                return i;
        }
        const int index = QAccessibleWidget::indexOfChild(child);
        return index < 0 ? index : index + labelCount();
    }

private:
    /// Made when somebody asks for them: a card's interface is there from its first name on, and mostly nobody listens.
    const QList<QAccessible::Id>& labels() const
    {
        if (!m_labels.isEmpty())
            return m_labels;
        for (const TweakCard::Text which :
             {TweakCard::Text::Title, TweakCard::Text::Description, TweakCard::Text::Tag}) {
            if (!m_card->text(which).isEmpty())
                m_labels.append(QAccessible::registerAccessibleInterface(new PaintedLabel(m_card, which)));
        }
        return m_labels;
    }

    int labelCount() const { return static_cast<int>(labels().size()); }

    TweakCard* m_card;
    mutable QList<QAccessible::Id> m_labels;
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object)
{
    auto* const card = qobject_cast<TweakCard*>(object);
    return card ? new AccessibleCard(card) : nullptr;
}

} // namespace

void installTweakCardAccessibility()
{
    static const bool installed = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    Q_UNUSED(installed)
}

} // namespace torvelane
