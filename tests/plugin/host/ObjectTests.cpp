// SPDX-License-Identifier: MIT
// Objects that the plug-in hands out: one identity behind all faces, one count of references.
#include "host/CZxGenericPolymorph.h"
#include "host/CZxPackage.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

class Counted final : public CZxImpl_Package, public CZxImpl_StaticDesc, public CZxImpl_PackageInstance {
public:
    static inline int alive = 0;
    Counted() { ++alive; }
    ~Counted() override { --alive; }
};

/// A maker of objects with three interfaces, and the objects' identifiers.
struct Maker {
    std::unique_ptr<CZxPolymorph<Counted>> polymorph =
        CZxPolymorph<Counted>::with<CZxIfc_Package, CZxIfc_StaticDesc, CZxIfc_PackageInstance>();
    const ZxId ids[3] = {kZxIdPackage, kZxIdStaticDesc, kZxIdPackageInstance};

    ZxObject* make() { return polymorph->create(); }
};

ZxObject* query(ZxObject* object, const ZxId& id)
{
    ZxObject* found = nullptr;
    EXPECT_EQ(object->table->query(object, &id, &found), kZxOk);
    return found;
}

TEST(Objects, everyFaceLeadsToTheSameIdentityAndToAllOthers)
{
    Maker maker;
    ZxObject* object = maker.make();
    ZxObject* identity = query(object, kZxIdObject);
    std::vector<ZxObject*> faces;
    for (const ZxId& id : maker.ids)
        faces.push_back(query(object, id));
    EXPECT_EQ(faces[0], object) << "an object is seen through the interface added first";
    EXPECT_NE(faces[1], faces[2]);
    for (ZxObject* face : faces) {
        ZxObject* same = query(face, kZxIdObject);
        EXPECT_EQ(same, identity);
        same->table->release(same);
        for (std::size_t i = 0; i < faces.size(); ++i) {
            ZxObject* other = query(face, maker.ids[i]);
            EXPECT_EQ(other, faces[i]);
            other->table->release(other);
        }
        ZxObject* none = face;
        EXPECT_EQ(face->table->query(face, &kZxIdAddChannel, &none), 0x80000017u);
        EXPECT_EQ(none, nullptr);
    }
    for (ZxObject* face : faces)
        face->table->release(face);
    object->table->release(object);
    EXPECT_EQ(Counted::alive, 1) << "the identity still holds it";
    identity->table->release(identity);
    EXPECT_EQ(Counted::alive, 0);
}

TEST(Objects, twoObjectsOfOneServerAreTwo)
{
    Maker maker;
    CZxObject first, second;
    first.adopt(maker.make());
    second.adopt(maker.make());
    EXPECT_NE(first.object(), second.object());
    EXPECT_EQ(Counted::alive, 2);
    first.clear();
    EXPECT_EQ(Counted::alive, 1);
}

TEST(Objects, holdersGiveBackEveryReferenceThatTheyTake)
{
    Maker maker;
    {
        CZxObject holder;
        holder.adopt(maker.make());
        CZxObject copy = holder;
        CZxObject moved = std::move(copy);
        EXPECT_FALSE(copy); // NOLINT(bugprone-use-after-move): a moved holder is empty
        CZxObject& itself = moved;
        moved = itself;
        EXPECT_TRUE(moved);
        CZxObject shared;
        shared.share(moved.object());
        shared.share(moved.object());
        shared.adopt(maker.make());
        EXPECT_EQ(Counted::alive, 2);
        holder.clear();
        moved = shared;
        EXPECT_EQ(Counted::alive, 1) << "nothing holds the first object any more";

        ZxObject* bare = moved.detach();
        EXPECT_FALSE(moved);
        shared.clear();
        EXPECT_EQ(Counted::alive, 1) << "a detached reference is the caller's";
        bare->table->release(bare);
        EXPECT_EQ(Counted::alive, 0);
    }
    EXPECT_EQ(Counted::alive, 0);
}

TEST(Objects, aHolderThatAsksInVainIsEmptyAndSaysSoAtEveryCall)
{
    Maker maker;
    CZxObject object;
    object.adopt(maker.make());
    CZxUser_AddChannel wrapper;
    EXPECT_EQ(wrapper.query(object.object(), kZxIdAddChannel), kZxNotFound);
    EXPECT_FALSE(wrapper);
    EXPECT_EQ(wrapper.add("name", "float"), kZxFailure);
    EXPECT_EQ(wrapper.query(nullptr, kZxIdAddChannel), kZxFailure);
    object.clear();
    EXPECT_EQ(Counted::alive, 0);
}

} // namespace
