#include "kerf/core/list.h"

namespace kerf {

ERIsvDlink* ERIsvDlist::at(unsigned int i) const {
    KERF_CHECK_ARGUMENT(i < count_);
    ERIsvDlink* link = head_.next;
    for (; i > 0; --i) link = link->next;
    return link;
}

void ERIsvDlist::insertAt(unsigned int i, ERIsvDlink* link) {
    insertAfterLink(i == 0 ? &head_ : at(i - 1), link);
}

int ERIsvDlist::containsReference(const ERIsvDlink* link) const {
    for (const ERIsvDlink* own = head_.next; own != &tail_; own = own->next)
        if (own == link) return 1;
    return 0;
}

void ERIsvDlist::takeLinks(ERIsvDlist& other) {
    if (other.isEmpty()) return;
    other.head_.next->prev = tail_.prev;
    tail_.prev->next = other.head_.next;
    other.tail_.prev->next = &tail_;
    tail_.prev = other.tail_.prev;
    count_ += other.count_;
    other.clear();
}

ERIsvSlink* ERIsvSlist::at(unsigned int i) const {
    KERF_CHECK_ARGUMENT(i < count_);
    ERIsvSlink* link = head_.next;
    for (; i > 0; --i) link = link->next;
    return link;
}

ERIsvSlink* ERIsvSlist::before(unsigned int i) { return i == 0 ? &head_ : at(i - 1); }

int ERIsvSlist::containsReference(const ERIsvSlink* link) const {
    for (const ERIsvSlink* own = head_.next; own != &tail_; own = own->next)
        if (own == link) return 1;
    return 0;
}

ERIsvSlink* ERIsvSlist::findLeftIsv(const ERIsvSlink* link) {
    for (ERIsvSlink* left = &head_; left != &tail_; left = left->next)
        if (left->next == link) return left;
    return nullptr;
}

ERIsvSlink* ERIsvSlist::removeReference(ERIsvSlink* link) {
    tail_.next = link;  // so that the search ends when the link is not in the list
    ERIsvSlink* left = &head_;
    while (left->next != link) left = left->next;
    tail_.next = &tail_;
    return left == &tail_ ? nullptr : removeRight(left);
}

ERIsvDlink* ERIsvDlistIterator::toFirst() {
    link_ = list_->head_.next;
    return current();
}

ERIsvDlink* ERIsvDlistIterator::toLast() {
    link_ = list_->tail_.prev;
    return current();
}

ERIsvDlink* ERIsvDlistIterator::operator+=(unsigned int n) {
    for (; n > 0 && link_ != &list_->tail_; --n) link_ = link_->next;
    return current();
}

ERIsvDlink* ERIsvDlistIterator::operator-=(unsigned int n) {
    for (; n > 0 && link_ != &list_->head_; --n) link_ = link_->prev;
    return current();
}

void ERIsvDlistIterator::insertAfterPoint(ERIsvDlink* inserted) {
    list_->insertAfterLink(link_ == &list_->tail_ ? link_->prev : link_, inserted);
}

ERIsvDlink* ERIsvDlistIterator::remove() {
    if (!onElement()) return nullptr;
    ERIsvDlink* const removed = link_;
    link_ = link_->prev;
    return list_->removeReference(removed);
}

ERIsvSlink* ERIsvSlistIterator::toFirst() {
    link_ = list_->head_.next;
    return current();
}

ERIsvSlink* ERIsvSlistIterator::toLast() {
    link_ = list_->lastElement_;
    return current();
}

ERIsvSlink* ERIsvSlistIterator::operator+=(unsigned int n) {
    for (; n > 0 && link_ != &list_->tail_; --n) link_ = link_->next;
    return current();
}

void ERIsvSlistIterator::insertAfterPoint(ERIsvSlink* inserted) {
    list_->insertAfterLink(link_ == &list_->tail_ ? list_->lastElement_ : link_, inserted);
}

ERIsvSlink* ERIsvSlistIterator::remove() {
    if (!onElement()) return nullptr;
    ERIsvSlink* const left = list_->findLeftIsv(link_);
    if (left == nullptr) return nullptr;
    link_ = left;
    return list_->removeRight(left);
}

}  // namespace kerf
