#pragma once

#include "services/SupportChatViewModel.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QAbstractListModel>
#include <string>
#include <vector>

namespace sonvale::ui {

/// The messages of a conversation for a list that shows them from top to bottom. A long message is some rows,
/// one for each block of it, so that only what is seen is laid out; one without text is no row. Main actor.
class SupportMessagesModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")

public:
    enum Role { textRole = Qt::UserRole, isUserRole, isFirstRole, isLastRole };

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Shows these messages. What was shown already only grows, or goes.
    void show(const std::vector<services::ChatMessage>& messages);

    /// The place of the row's message among those that were shown; -1 for no row.
    int messageAt(int row) const;

private:
    struct Row {
        int message;
        bool isUser;
        bool isFirst;
        bool isLast;
        QString text;
    };
    struct Shown {
        base::Uuid id;
        std::size_t size = 0;      ///< of its text
        std::size_t lastBegin = 0; ///< of its last block
        int rows = 0;
    };

    void dropFrom(std::size_t message);
    void grow(std::size_t message, const services::ChatMessage& now);
    std::vector<Row> newRows(std::size_t message, const services::ChatMessage& now);

    std::vector<Shown> shown_;
    std::vector<Row> rows_;
};

} // namespace sonvale::ui
