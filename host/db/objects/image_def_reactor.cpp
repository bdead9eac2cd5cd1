// IMAGEDEF_REACTOR: the link from an image definition back to one image that shows it.
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbRasterImageDefReactor, DxDbObject, "IMAGEDEF_REACTOR")

namespace dx::db {

template <>
struct Access::Schemas<DxDbRasterImageDefReactor> {
  static void define() {
    using R = DxDbRasterImageDefReactor;
    object<R>("IMAGEDEF_REACTOR", {sub("AcDbRasterImageDefReactor",
                                       {
                                           req<&R::m_classVersion>(90, "class_version"),
                                           req<&R::m_image>(330, "image"),
                                       })});
  }
};

void defineImageDefReactorSchemas() { Access::Schemas<DxDbRasterImageDefReactor>::define(); }

}  // namespace dx::db

ErrorStatus DxDbRasterImageDefReactor::setImageId(DxDbObjectId id) {
  assertWriteEnabled();
  m_image = id;
  return Dxad::eOk;
}

ErrorStatus DxDbRasterImageDefReactor::link(DxDbObjectId imageId) {
  DxDbObjectId defId;
  {
    DxDbRasterImage* img = nullptr;
    if (ErrorStatus es = dxdbOpenObject(img, imageId, DxDb::kForRead); es != Dxad::eOk) return es;
    defId = img->imageDefId();
    img->close();
  }
  if (defId.isNull() || !imageId.database()) return Dxad::eInvalidInput;
  auto* reactor = new DxDbRasterImageDefReactor();
  DxDbObjectId reactorId;
  if (ErrorStatus es = imageId.database()->addDxDbObject(reactorId, reactor); es != Dxad::eOk) {
    delete reactor;
    return es;
  }
  reactor->setOwnerId(imageId);
  reactor->setImageId(imageId);
  reactor->close();
  DxDbRasterImage* img = nullptr;
  if (ErrorStatus es = dxdbOpenObject(img, imageId, DxDb::kForWrite); es != Dxad::eOk) return es;
  img->setReactorId(reactorId);
  img->close();
  DxDbObject* def = nullptr;
  if (ErrorStatus es = dxdbOpenObject(def, defId, DxDb::kForWrite); es != Dxad::eOk) return es;
  def->addPersistentReactor(reactorId);
  def->close();
  return Dxad::eOk;
}

ErrorStatus DxDbRasterImageDefReactor::unlink(DxDbObjectId imageId) {
  DxDbObjectId defId, reactorId;
  {
    DxDbRasterImage* img = nullptr;
    if (ErrorStatus es = dxdbOpenObject(img, imageId, DxDb::kForWrite, true); es != Dxad::eOk) return es;
    defId = img->imageDefId();
    reactorId = img->reactorId();
    img->setReactorId(DxDbObjectId());
    img->close();
  }
  if (reactorId.isNull()) return Dxad::eOk;
  DxDbObject* obj = nullptr;
  if (dxdbOpenObject(obj, defId, DxDb::kForWrite) == Dxad::eOk) {
    obj->removePersistentReactor(reactorId);
    obj->close();
  }
  if (ErrorStatus es = dxdbOpenObject(obj, reactorId, DxDb::kForWrite); es != Dxad::eOk) return es;
  obj->erase();
  obj->close();
  return Dxad::eOk;
}
