#include "kit/model/motion.h"

#include "kit/model/codings.h"

namespace vorno {

MotionScene Coding<MotionScene>::read(const Reader& r) {
  MotionScene s;
  s.duration = r.get<double>("duration");
  s.show = r.getIfPresent<std::vector<std::string>>("show");
  s.texts = r.getIfPresent<std::map<std::string, LocalizedText>>("texts");
  s.screens = r.getIfPresent<std::map<std::string, ScreenshotRef>>("screens");
  return s;
}

Json Coding<MotionScene>::write(const MotionScene& s) {
  return ObjectWriter()
      .put("duration", s.duration)
      .putIfPresent("show", s.show)
      .putIfPresent("texts", s.texts)
      .putIfPresent("screens", s.screens)
      .done();
}

MotionTransition Coding<MotionTransition>::read(const Reader& r) {
  r.requireObject();
  MotionTransition t;
  t.style = r.getIfPresent<TransitionStyle>("style");
  t.duration = r.getIfPresent<double>("duration");
  t.elements = r.getIfPresent<std::map<std::string, TransitionStyle>>("elements");
  return t;
}

Json Coding<MotionTransition>::write(const MotionTransition& t) {
  return ObjectWriter()
      .putIfPresent("style", t.style)
      .putIfPresent("duration", t.duration)
      .putIfPresent("elements", t.elements)
      .done();
}

Keyframe Coding<Keyframe>::read(const Reader& r) {
  Keyframe k;
  k.t = r.get<double>("t");
  k.x = r.getIfPresent<double>("x");
  k.y = r.getIfPresent<double>("y");
  k.scale = r.getIfPresent<double>("scale");
  k.rotation = r.getIfPresent<double>("rotation");
  k.opacity = r.getIfPresent<double>("opacity");
  k.ease = r.getIfPresent<Ease>("ease");
  return k;
}

Json Coding<Keyframe>::write(const Keyframe& k) {
  return ObjectWriter()
      .put("t", k.t)
      .putIfPresent("x", k.x)
      .putIfPresent("y", k.y)
      .putIfPresent("scale", k.scale)
      .putIfPresent("rotation", k.rotation)
      .putIfPresent("opacity", k.opacity)
      .putIfPresent("ease", k.ease)
      .done();
}

Wave Coding<Wave>::read(const Reader& r) {
  Wave w;
  w.property = r.get<MotionProperty>("property");
  w.amplitude = r.get<double>("amplitude");
  w.cycles = r.getIfPresent<int>("cycles");
  w.phase = r.getIfPresent<double>("phase");
  return w;
}

Json Coding<Wave>::write(const Wave& w) {
  return ObjectWriter()
      .put("property", w.property)
      .put("amplitude", w.amplitude)
      .putIfPresent("cycles", w.cycles)
      .putIfPresent("phase", w.phase)
      .done();
}

Motion Coding<Motion>::read(const Reader& r) {
  r.requireObject();
  Motion m;
  m.duration = r.getIfPresent<double>("duration");
  m.fps = r.getIfPresent<int>("fps");
  m.poster = r.getIfPresent<double>("poster");
  m.scenes = r.getIfPresent<std::vector<MotionScene>>("scenes");
  m.transition = r.getIfPresent<MotionTransition>("transition");
  m.tracks = r.getIfPresent<std::map<std::string, std::vector<Keyframe>>>("tracks");
  m.waves = r.getIfPresent<std::map<std::string, std::vector<Wave>>>("waves");
  return m;
}

Json Coding<Motion>::write(const Motion& m) {
  return ObjectWriter()
      .putIfPresent("duration", m.duration)
      .putIfPresent("fps", m.fps)
      .putIfPresent("poster", m.poster)
      .putIfPresent("scenes", m.scenes)
      .putIfPresent("transition", m.transition)
      .putIfPresent("tracks", m.tracks)
      .putIfPresent("waves", m.waves)
      .done();
}

}  // namespace vorno
