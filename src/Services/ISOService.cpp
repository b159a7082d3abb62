#include "Services/ISOService.h"

using namespace Qt::StringLiterals;

QStringList ISOService::isoContentTypes() const
{
    return {u"public.iso-image"_s, u"public.disk-image"_s, u"public.data"_s};
}

QStringList ISOService::namePatterns() const
{
    return {u"*.iso"_s, u"*.img"_s, u"*.dmg"_s, u"*.raw"_s};
}
