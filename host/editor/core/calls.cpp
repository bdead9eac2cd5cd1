// Command calls: dxedCommandS feeds tagged values to host commands, one answer at a time,
// so that a command left waiting goes on with the next call's values.
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "host/editor/core/session.h"

namespace dx::ed {
namespace {

bool descendsFrom(const Frame* f, const Frame* ancestor) {
  for (const Frame* p = f->parent; p; p = p->parent)
    if (p == ancestor) return true;
  return ancestor == nullptr;
}

Answer toAnswer(const resbuf* rb, bool& ok) {
  ok = true;
  Answer a;
  switch (rb->restype) {
    case RTSTR: {
      std::string s = rb->resval.rstring ? rb->resval.rstring : "";
      if (s.empty()) return Answer::empty();
      a = Answer::text_(s);
      return a;
    }
    case RTPOINT:
    case RT3DPOINT:
      a.kind = Answer::Point;
      a.pt = {rb->resval.rpoint[0], rb->resval.rpoint[1],
              rb->restype == RT3DPOINT ? rb->resval.rpoint[2] : 0.0};
      return a;
    case RTREAL:
    case RTANG:
      a.kind = Answer::Real;
      a.real = rb->resval.rreal;
      return a;
    case RTSHORT:
      a.kind = Answer::Int;
      a.integer = rb->resval.rint;
      return a;
    case RTLONG:
      a.kind = Answer::Int;
      a.integer = rb->resval.rlong;
      return a;
    case RTENAME:
    case RTPICKS:
      a.kind = rb->restype == RTENAME ? Answer::Name : Answer::Picks;
      a.name[0] = rb->resval.rlname[0];
      a.name[1] = rb->resval.rlname[1];
      return a;
    case RTNONE:
      return Answer::empty();
    default:
      ok = false;
      return a;
  }
}

}  // namespace

int commandCall(const resbuf* args) {
  Session& s = Session::get();
  s.init();
  Frame* caller = s.running();
  bool echo = s.getInt("CMDECHO") != 0 && (!caller || caller->echo);
  int result = RTNORM;
  uint64_t failedBefore = s.failures(caller);
  for (const resbuf* rb = args; rb; rb = rb->rbnext) {
    Frame* t = s.top();
    Frame* pending = t && t != caller && descendsFrom(t, caller) ? t : nullptr;
    if (pending) {
      bool ok;
      Answer a = toAnswer(rb, ok);
      if (!ok) {
        output().message("\nInvalid value type " + std::to_string(rb->restype) + " in a command call.\n");
        return RTERROR;
      }
      if (!pending->waiting) return RTERROR;
      if (a.kind == Answer::Text && a.text == PAUSE) {
        if (!caller) {
          // Outside a command the answers prepared for prompts stand in for the user.
          Answer given = s.ask(pending->prompt);
          bool cancel = given.kind == Answer::Cancel;
          s.feed(pending, std::move(given));
          if (cancel) return RTCAN;
          continue;
        }
        // The caller steps aside until the command has its answer from the command line;
        // the prompt shows as the command's own, whatever CMDECHO says.
        caller->pausedOn = pending;
        bool echo = std::exchange(pending->echo, true);
        CommandFiber::suspend();
        if (s.isRunning(pending)) pending->echo = echo;
        if (std::exchange(caller->pauseCancelled, false)) return RTCAN;
        continue;
      }
      s.feed(pending, std::move(a));
      continue;
    }
    if (rb->restype != RTSTR) {
      output().message("\nA command call must start with a command name.\n");
      return RTERROR;
    }
    std::string word = rb->resval.rstring ? rb->resval.rstring : "";
    if (word.empty()) continue;  // Enter at "Command:" does nothing
    if (!s.startWord(word, caller, true, echo)) {
      output().message("\nUnknown command \"" + upper(word) + "\".\n");
      result = RTERROR;
      break;
    }
  }
  if (s.failures(caller) != failedBefore) result = RTERROR;
  return result;
}

}  // namespace dx::ed

int dxedCmdS(const resbuf* args) { return dx::ed::commandCall(args); }

int dxedCommandS(int rtype, ...) {
  // Builds a chain from the tagged values, then runs it.
  va_list ap;
  va_start(ap, rtype);
  resbuf *head = nullptr, *tail = nullptr;
  for (int type = rtype; type != 0 && type != RTNONE; type = va_arg(ap, int)) {
    resbuf* rb = dxutNewRb(type);
    switch (type) {
      case RTSTR: {
        const char* s = va_arg(ap, const char*);
        rb->resval.rstring = strdup(s ? s : "");
        break;
      }
      case RTPOINT:
      case RT3DPOINT: {
        const double* p = va_arg(ap, const double*);
        rb->resval.rpoint[0] = p[0];
        rb->resval.rpoint[1] = p[1];
        rb->resval.rpoint[2] = type == RT3DPOINT ? p[2] : 0.0;
        break;
      }
      case RTREAL:
      case RTANG: rb->resval.rreal = va_arg(ap, double); break;
      case RTSHORT: rb->resval.rint = short(va_arg(ap, int)); break;
      case RTLONG: rb->resval.rlong = va_arg(ap, int32_t); break;
      case RTENAME:
      case RTPICKS: {
        const int64_t* n = va_arg(ap, const int64_t*);
        rb->resval.rlname[0] = n[0];
        rb->resval.rlname[1] = n[1];
        break;
      }
      default:
        dxutRelRb(rb);
        dxutRelRb(head);
        va_end(ap);
        dx::ed::output().message("\nInvalid value type " + std::to_string(type) + " in a command call.\n");
        return RTERROR;
    }
    (tail ? tail->rbnext : head) = rb;
    tail = rb;
  }
  va_end(ap);
  int rc = dxedCmdS(head);
  dxutRelRb(head);
  return rc;
}
