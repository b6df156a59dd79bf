#include "kerf/core/list.h"

namespace kerf {

ERIsvDlink* ERIsvDlist::at(unsigned int i) const {
    KERF_CHECK_ARGUMENT(i < count);
    ERIsvDlink* link = head.next;
    for (; i > 0; --i) link = link->next;
    return link;
}

void ERIsvDlist::insertAt(unsigned int i, ERIsvDlink* link) {
    insertAfterLink(i == 0 ? &head : at(i - 1), link);
}

int ERIsvDlist::containsReference(const ERIsvDlink* link) const {
    for (const ERIsvDlink* walked = head.next; walked != &tail; walked = walked->next)
        if (walked == link) return 1;
    return 0;
}

void ERIsvDlist::takeLinks(ERIsvDlist& other) {
    if (other.isEmpty()) return;
    other.head.next->prev = tail.prev;
    tail.prev->next = other.head.next;
    other.tail.prev->next = &tail;
    tail.prev = other.tail.prev;
    count += other.count;
    other.clear();
}

ERIsvSlink* ERIsvSlist::at(unsigned int i) const {
    KERF_CHECK_ARGUMENT(i < count);
    ERIsvSlink* link = head.next;
    for (; i > 0; --i) link = link->next;
    return link;
}

ERIsvSlink* ERIsvSlist::before(unsigned int i) { return i == 0 ? &head : at(i - 1); }

int ERIsvSlist::containsReference(const ERIsvSlink* link) const {
    for (const ERIsvSlink* walked = head.next; walked != &tail; walked = walked->next)
        if (walked == link) return 1;
    return 0;
}

ERIsvSlink* ERIsvSlist::findLeftIsv(const ERIsvSlink* link) {
    for (ERIsvSlink* walked = &head; walked != &tail; walked = walked->next)
        if (walked->next == link) return walked;
    return nullptr;
}

ERIsvSlink* ERIsvSlist::removeReference(ERIsvSlink* link) {
    tail.next = link;  // stops the search
    ERIsvSlink* left = &head;
    while (left->next != link) left = left->next;
    tail.next = &tail;
    return left == &tail ? nullptr : removeRight(left);
}

ERIsvDlink* ERIsvDlistIterator::toFirst() {
    link = list->head.next;
    return current();
}

ERIsvDlink* ERIsvDlistIterator::toLast() {
    link = list->tail.prev;
    return current();
}

ERIsvDlink* ERIsvDlistIterator::operator+=(unsigned int n) {
    for (; n > 0 && link != &list->tail; --n) link = link->next;
    return current();
}

ERIsvDlink* ERIsvDlistIterator::operator-=(unsigned int n) {
    for (; n > 0 && link != &list->head; --n) link = link->prev;
    return current();
}

void ERIsvDlistIterator::insertAfterPoint(ERIsvDlink* inserted) {
    list->insertAfterLink(link == &list->tail ? link->prev : link, inserted);
}

ERIsvDlink* ERIsvDlistIterator::remove() {
    if (!onElement()) return nullptr;
    ERIsvDlink* const removed = link;
    link = link->prev;
    return list->removeReference(removed);
}

ERIsvSlink* ERIsvSlistIterator::toFirst() {
    link = list->head.next;
    return current();
}

ERIsvSlink* ERIsvSlistIterator::toLast() {
    link = list->lastElement;
    return current();
}

ERIsvSlink* ERIsvSlistIterator::operator+=(unsigned int n) {
    for (; n > 0 && link != &list->tail; --n) link = link->next;
    return current();
}

void ERIsvSlistIterator::insertAfterPoint(ERIsvSlink* inserted) {
    list->insertAfterLink(link == &list->tail ? list->lastElement : link, inserted);
}

ERIsvSlink* ERIsvSlistIterator::remove() {
    if (!onElement()) return nullptr;
    ERIsvSlink* const left = list->findLeftIsv(link);
    if (left == nullptr) return nullptr;
    link = left;
    return list->removeRight(left);
}

}  // namespace kerf
