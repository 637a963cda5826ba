/* NSColorQVR and NSColorSpaceQVR: host wrappers of a retained NSColor or NSColorSpace
   (the Handle, first in the instance data). One wrapper per platform object while it
   lives, through the shared instances dictionary, as image plugins of the family expect.
   Components are read in the device RGB space; a colour that cannot be converted reads
   as 0. */
#import <AppKit/AppKit.h>

#include "siblings/color_classes.h"

#include "siblings/handle_wrappers.h"
#include "siblings/sibling_glue.h"

namespace {

using siblings::HandleData;
using siblings::WrapperFor;
using siblings::AdoptHandle;
using siblings::ReleaseHandle;

HandleData* ColorData(REALobject self) { return siblings::InstanceData<HandleData>(NSColorQVRClass, self); }
HandleData* SpaceData(REALobject self) { return siblings::InstanceData<HandleData>(NSColorSpaceQVRClass, self); }

/* NSColorQVR */

void ColorDestructor(REALobject self) { ReleaseHandle(ColorData(self), self); }

void ColorConstructorRGBA(REALobject self, double red, double green, double blue, double alpha) {
  AdoptHandle(ColorData(self), self,
              [NSColor colorWithDeviceRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha]);
}

void ColorConstructorWhite(REALobject self, double white, double alpha) {
  AdoptHandle(ColorData(self), self, [NSColor colorWithDeviceWhite:(CGFloat)white alpha:(CGFloat)alpha]);
}

/* Red, green, blue, alpha in device RGB, or zeros. */
void ColorComponents(REALobject self, CGFloat components[4]) {
  components[0] = components[1] = components[2] = components[3] = 0;
  NSColor* color = ColorData(self)->Handle;
  NSColor* rgb = [color colorUsingColorSpace:[NSColorSpace deviceRGBColorSpace]];
  if (rgb != nil) [rgb getRed:&components[0] green:&components[1] blue:&components[2] alpha:&components[3]];
}

double ColorRed(REALobject self, intptr_t) {
  CGFloat c[4];
  ColorComponents(self, c);
  return c[0];
}
double ColorGreen(REALobject self, intptr_t) {
  CGFloat c[4];
  ColorComponents(self, c);
  return c[1];
}
double ColorBlue(REALobject self, intptr_t) {
  CGFloat c[4];
  ColorComponents(self, c);
  return c[2];
}
double ColorAlpha(REALobject self, intptr_t) {
  CGFloat c[4];
  ColorComponents(self, c);
  return c[3];
}

REALstring ColorSpaceName(REALobject self, intptr_t) {
  return siblings::HostString((CFStringRef)[(NSColor*)ColorData(self)->Handle colorSpaceName]);
}

REALobject ColorColorSpace(REALobject self, intptr_t) {
  return WrapperFor([(NSColor*)ColorData(self)->Handle colorSpace], "NSColorSpaceQVR", &SpaceData);
}

REALobject ColorWhite() { return WrapperFor([NSColor whiteColor], "NSColorQVR", &ColorData); }
REALobject ColorBlack() { return WrapperFor([NSColor blackColor], "NSColorQVR", &ColorData); }
REALobject ColorClear() { return WrapperFor([NSColor clearColor], "NSColorQVR", &ColorData); }

REALproperty ColorProperties[] = {
    {nullptr, "Handle", "Integer", 0x6, REALstandardAccessor, nullptr, 0, nullptr, 0, nullptr, 0, nullptr},
    {nullptr, "RedComponent", "Double", 0x6, reinterpret_cast<void*>(&ColorRed), nullptr, 0, nullptr, 0, nullptr, 0, nullptr},
    {nullptr, "GreenComponent", "Double", 0x6, reinterpret_cast<void*>(&ColorGreen), nullptr, 0, nullptr, 0, nullptr, 0,
     nullptr},
    {nullptr, "BlueComponent", "Double", 0x6, reinterpret_cast<void*>(&ColorBlue), nullptr, 0, nullptr, 0, nullptr, 0,
     nullptr},
    {nullptr, "AlphaComponent", "Double", 0x6, reinterpret_cast<void*>(&ColorAlpha), nullptr, 0, nullptr, 0, nullptr, 0,
     nullptr},
    {nullptr, "ColorSpaceName", "String", 0x6, reinterpret_cast<void*>(&ColorSpaceName), nullptr, 0, nullptr, 0, nullptr,
     0, nullptr},
    {nullptr, "ColorSpace", "NSColorSpaceQVR", 0x6, reinterpret_cast<void*>(&ColorColorSpace), nullptr, 0, nullptr, 0,
     nullptr, 0, nullptr},
};

/* "Constructor" without arguments: a colour wrapper that holds nothing yet. */
void ColorConstructorEmpty(REALobject) {}

REALmethodDefinition ColorMethods[] = {
    {reinterpret_cast<void*>(&ColorConstructorEmpty), nullptr, "Constructor", 0x4, 0, nullptr},
    {reinterpret_cast<void*>(&ColorConstructorRGBA), nullptr,
     "Constructor(red as double, green as double, blue as double, alpha as double = 1.0)", 0x4, 0, nullptr},
    {reinterpret_cast<void*>(&ColorConstructorWhite), nullptr, "Constructor(white as double, alpha as double = 1.0)",
     0x4, 0, nullptr},
};

REALmethodDefinition ColorSharedMethods[] = {
    {reinterpret_cast<void*>(&ColorWhite), nullptr, "WhiteColor as NSColorQVR", 0x4, 0, nullptr},
    {reinterpret_cast<void*>(&ColorBlack), nullptr, "BlackColor as NSColorQVR", 0x4, 0, nullptr},
    {reinterpret_cast<void*>(&ColorClear), nullptr, "ClearColor as NSColorQVR", 0x4, 0, nullptr},
};

/* NSColorSpaceQVR */

void SpaceDestructor(REALobject self) { ReleaseHandle(SpaceData(self), self); }

intptr_t SpaceComponents(REALobject self, intptr_t) {
  return (intptr_t)[(NSColorSpace*)SpaceData(self)->Handle numberOfColorComponents];
}

REALstring SpaceName(REALobject self, intptr_t) {
  return siblings::HostString((CFStringRef)[(NSColorSpace*)SpaceData(self)->Handle localizedName]);
}

REALobject SpaceDeviceRGB() { return WrapperFor([NSColorSpace deviceRGBColorSpace], "NSColorSpaceQVR", &SpaceData); }
REALobject SpaceGenericRGB() { return WrapperFor([NSColorSpace genericRGBColorSpace], "NSColorSpaceQVR", &SpaceData); }
REALobject SpaceSRGB() { return WrapperFor([NSColorSpace sRGBColorSpace], "NSColorSpaceQVR", &SpaceData); }
REALobject SpaceDeviceGray() { return WrapperFor([NSColorSpace deviceGrayColorSpace], "NSColorSpaceQVR", &SpaceData); }
REALobject SpaceGenericGray() {
  return WrapperFor([NSColorSpace genericGrayColorSpace], "NSColorSpaceQVR", &SpaceData);
}

REALproperty SpaceProperties[] = {
    {nullptr, "Handle", "Integer", 0x6, REALstandardAccessor, nullptr, 0, nullptr, 0, nullptr, 0, nullptr},
    {nullptr, "NumberOfColorComponents", "Integer", 0x6, reinterpret_cast<void*>(&SpaceComponents), nullptr, 0, nullptr,
     0, nullptr, 0, nullptr},
    {nullptr, "LocalizedName", "String", 0x6, reinterpret_cast<void*>(&SpaceName), nullptr, 0, nullptr, 0, nullptr, 0,
     nullptr},
};

REALmethodDefinition SpaceSharedMethods[] = {
    {reinterpret_cast<void*>(&SpaceDeviceRGB), nullptr, "DeviceRGBColorSpace as NSColorSpaceQVR", 0x4, 0, nullptr},
    {reinterpret_cast<void*>(&SpaceGenericRGB), nullptr, "GenericRGBColorSpace as NSColorSpaceQVR", 0x4, 0, nullptr},
    {reinterpret_cast<void*>(&SpaceSRGB), nullptr, "SRGBColorSpace as NSColorSpaceQVR", 0x4, 0, nullptr},
    {reinterpret_cast<void*>(&SpaceDeviceGray), nullptr, "DeviceGrayColorSpace as NSColorSpaceQVR", 0x4, 0, nullptr},
    {reinterpret_cast<void*>(&SpaceGenericGray), nullptr, "GenericGrayColorSpace as NSColorSpaceQVR", 0x4, 0, nullptr},
};

}  // namespace

REALclassDefinition NSColorQVRClass = {
    kREALCurrentControlVersion, "NSColorQVR", nullptr, sizeof(HandleData), 0, nullptr,
    reinterpret_cast<void*>(&ColorDestructor), ColorProperties, sizeof(ColorProperties) / sizeof(ColorProperties[0]),
    ColorMethods, sizeof(ColorMethods) / sizeof(ColorMethods[0]), nullptr, 0, nullptr, 0, nullptr, nullptr, 0,
    nullptr, 0, 0x4, nullptr, 0, ColorSharedMethods, sizeof(ColorSharedMethods) / sizeof(ColorSharedMethods[0]),
    nullptr, 0, nullptr, 0,
};

REALclassDefinition NSColorSpaceQVRClass = {
    kREALCurrentControlVersion, "NSColorSpaceQVR", nullptr, sizeof(HandleData), 0, nullptr,
    reinterpret_cast<void*>(&SpaceDestructor), SpaceProperties, sizeof(SpaceProperties) / sizeof(SpaceProperties[0]),
    nullptr, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 0x4, nullptr, 0, SpaceSharedMethods,
    sizeof(SpaceSharedMethods) / sizeof(SpaceSharedMethods[0]), nullptr, 0, nullptr, 0,
};
