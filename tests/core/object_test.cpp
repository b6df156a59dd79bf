#include "kerf/core/object.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <vector>

#include "kerf/core/smart_pointer.h"

namespace kerf {
namespace {

// A family with a diamond: Leaf derives from Left and Right, which share one Node.
class Node : public ERObject {
    ER_OBJECT_CLASS(Node);
    explicit Node(int number = 0) : value(number) { ++alive; }
    Node(const Node& other) : ERObject(other), value(other.value) { ++alive; }
    Node& operator=(const Node&) = default;
    ~Node() override { --alive; }
    ERObject* getCopy() const override { return new Node(*this); }
    void printOn(std::ostream&) const override {}

    int value;
    static inline int alive = 0;
};

class Left : public virtual Node {
    ER_OBJECT_CLASS(Left);
    double left = 1.0;
};

class Right : public virtual Node {
    ER_OBJECT_CLASS(Right);
    double right = 2.0;
};

class Leaf : public Left, public Right {
    ER_OBJECT_CLASS(Leaf);
    Node member;  // constructed while the leaf's own memory is already claimed
};

class Abstract : public Node {
    ER_OBJECT_CLASS(Abstract);
    virtual void open() = 0;
};

ER_DEFINE_CLASS(Node, ERObject)
ER_DEFINE_CLASS(Left, Node)
ER_DEFINE_CLASS(Right, Node)
ER_DEFINE_CLASS(Leaf, Left, Right)
ER_DEFINE_ABSTRACT_CLASS(Abstract, Node)

TEST(ClassRegistry, FindsClassesAndCreatorsByExactName) {
    EXPECT_EQ(ERClassRegistration::findClassRegistration("Leaf"), Leaf::desc());
    for (const char* name : {"leaf", "", "Abstract"})
        EXPECT_EQ(ERClassRegistration::findCreator(name), nullptr) << name;
    const auto creator = ERClassRegistration::findCreator("Leaf");
    const t_SmartPtr<ERObject> built(creator());
    EXPECT_EQ(built->isKindOf(Right::desc()) + built->isKindOf(ERObject::desc()), 2);
    EXPECT_EQ(built->isKindOf(Abstract::desc()) + built->isMemberOf(Node::desc()), 0);
    EXPECT_EQ(Leaf::_GetBaseClass(), CObject::GetThisClass());  // a flat hierarchy
    Leaf leaf;
    ERObject& root = leaf;
    EXPECT_EQ(&Right::castdown(root), static_cast<Right*>(&leaf));  // the part of the object
    EXPECT_EQ(Right::castdown(nullptr), nullptr);
}

TEST(ERObject, KnowsWhetherItsOwnNewBuiltIt) {
    const t_SmartPtr<Leaf> onHeap(new Leaf);
    const t_SmartPtr<Node> argumentIsTemporary(new Node(Node(7)));
    EXPECT_TRUE(onHeap->isOnTheHeap() && argumentIsTemporary->isOnTheHeap());
    EXPECT_FALSE(onHeap->member.isOnTheHeap());
    // Memory that was never an object leaves no mark.
    for (int i = 0; i < 100; ++i) ERObject::operator delete(ERObject::operator new(sizeof(Node)));
    const std::vector<Node> elements(3);
    const t_SmartPtr<ERObject> copy(elements[1].getCopy());
    EXPECT_TRUE(copy->isOnTheHeap() && !elements[1].isOnTheHeap());
}

TEST(ERObject, WithoutADatabaseNothingCanBeSavedLoadedOrDeleted) {
    Node node;
    EXPECT_EQ(node.Save(nullptr) + node.Delete() + node.Load(3, nullptr), 0);
    node.setDirty();
    node = Node(5);
    EXPECT_EQ(node.isDirty(), 0);
}

TEST(SmartPointer, DeletesOnceWithTheLastOwner) {
    const int before = Node::alive;
    {
        t_SmartPtr<Node> first(new Leaf);  // reaches the count through a virtual base
        const t_SmartPtr<Node> second = first;
        const t_SmartPtr<ERObject> base = first;
        *first = Node(9);  // assignment leaves the owners alone
        EXPECT_TRUE(second == first && second->value == 9 && base == first.getObject());
        first = first.getObject();
        EXPECT_EQ(first->references(), 3u);
    }
    EXPECT_EQ(Node::alive, before);
}

TEST(SmartPointer, AssigningAPartOfWhatIsHeldIsSafe) {
    struct Chain : Node {
        t_SmartPtr<Chain> child;
    };
    t_SmartPtr<Chain> list(new Chain);
    list->child = new Chain;
    list->child->value = 2;
    list = list->child;
    EXPECT_TRUE(list->value == 2 && list->references() == 1);
}

}  // namespace
}  // namespace kerf
