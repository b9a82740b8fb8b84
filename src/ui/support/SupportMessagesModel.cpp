#include "ui/support/SupportMessagesModel.h"

#include "services/SupportMessages.h"
#include "ui/common/Texts.h"
#include "ui/support/MessageBlocks.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace sonvale::ui {

int SupportMessagesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant SupportMessagesModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto& row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case textRole:
        return row.text;
    case isUserRole:
        return row.isUser;
    case isFirstRole:
        return row.isFirst;
    case isLastRole:
        return row.isLast;
    default:
        return {};
    }
}

QHash<int, QByteArray> SupportMessagesModel::roleNames() const {
    return {{textRole, "text"}, {isUserRole, "isUser"}, {isFirstRole, "isFirst"}, {isLastRole, "isLast"}};
}

int SupportMessagesModel::messageAt(int row) const {
    return row >= 0 && row < rowCount() ? rows_[static_cast<std::size_t>(row)].message : -1;
}

void SupportMessagesModel::show(const std::vector<services::ChatMessage>& messages) {
    std::size_t same = 0;
    while (same < std::min(messages.size(), shown_.size()) && shown_[same].id == messages[same].id)
        ++same;
    dropFrom(same);
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (i == shown_.size())
            shown_.push_back({.id = messages[i].id});
        if (shown_[i].size != messages[i].content.size())
            grow(i, messages[i]);
    }
}

void SupportMessagesModel::dropFrom(std::size_t message) {
    const auto gone = shown_.begin() + static_cast<std::ptrdiff_t>(message);
    const int rows =
        std::accumulate(gone, shown_.end(), 0, [](int sum, const Shown& each) { return sum + each.rows; });
    shown_.erase(gone, shown_.end());
    if (rows == 0)
        return;
    const int first = rowCount() - rows;
    beginRemoveRows({}, first, first + rows - 1);
    rows_.erase(rows_.begin() + first, rows_.end());
    endRemoveRows();
}

std::vector<SupportMessagesModel::Row> SupportMessagesModel::newRows(std::size_t message,
                                                                     const services::ChatMessage& now) {
    auto& shown = shown_[message];
    std::vector<Row> rows;
    std::string_view rest(now.content);
    rest.remove_prefix(shown.lastBegin);
    if (now.content == services::supportGreeting)
        return {{.message = static_cast<int>(message),
                 .isUser = false,
                 .isFirst = true,
                 .isLast = true,
                 .text = translated(now.content)}};
    for (;;) {
        const auto cut = firstBlockCut(rest);
        rows.push_back({.message = static_cast<int>(message),
                        .isUser = now.role == "user",
                        .isFirst = shown.lastBegin == 0,
                        .isLast = !cut,
                        .text = toQString(cut ? rest.substr(0, cut->end) : rest)});
        if (!cut)
            return rows;
        rest.remove_prefix(cut->next);
        shown.lastBegin += cut->next;
    }
}

void SupportMessagesModel::grow(std::size_t message, const services::ChatMessage& now) {
    auto& shown = shown_[message];
    const int end = std::accumulate(shown_.begin(), shown_.begin() + static_cast<std::ptrdiff_t>(message) + 1,
                                    0, [](int sum, const Shown& each) { return sum + each.rows; });
    auto rows = newRows(message, now);
    shown.size = now.content.size();
    auto fresh = rows.begin();
    if (shown.rows > 0) {
        rows_[static_cast<std::size_t>(end) - 1] = std::move(*fresh++);
        const auto changed = index(end - 1);
        Q_EMIT dataChanged(changed, changed, {textRole, isLastRole});
    }
    const auto count = static_cast<int>(std::distance(fresh, rows.end()));
    if (count == 0)
        return;
    beginInsertRows({}, end, end + count - 1);
    rows_.insert(rows_.begin() + end, std::make_move_iterator(fresh), std::make_move_iterator(rows.end()));
    shown.rows += count;
    endInsertRows();
}

} // namespace sonvale::ui
