#pragma once

#include "services/SupportChatViewModel.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QAbstractListModel>
#include <string>
#include <vector>

namespace sonvale::ui {

/// The messages of a conversation for a list that shows them from top to bottom. A long message has several
/// rows, one for each block, so that only visible blocks are laid out. An empty message has no row. Main
/// actor.
class SupportMessagesModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")

public:
    enum Role { textRole = Qt::UserRole, isUserRole, isFirstRole, isLastRole };

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Shows these messages. A message that is already shown may only grow or disappear.
    void show(const std::vector<services::ChatMessage>& messages);

    /// Returns the index of the row's message in the shown messages; -1 if there is no such row.
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
        std::size_t size = 0;      ///< the size of the text
        std::size_t lastBegin = 0; ///< the beginning of the last block
        int rows = 0;
    };

    void dropFrom(std::size_t message);
    void grow(std::size_t message, const services::ChatMessage& now);
    std::vector<Row> newRows(std::size_t message, const services::ChatMessage& now);

    std::vector<Shown> shown_;
    std::vector<Row> rows_;
};

} // namespace sonvale::ui
