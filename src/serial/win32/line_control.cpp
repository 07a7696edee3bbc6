#include "serial/win32/line_control.h"

namespace hvt {

DCB with_settings(DCB driver, const SerialSettings& settings) {
  driver.BaudRate = settings.baud;
  driver.ByteSize = settings.data_bits;
  driver.Parity = static_cast<BYTE>(settings.parity);
  driver.StopBits = static_cast<BYTE>(settings.stop_bits);

  driver.fBinary = TRUE;
  driver.fParity = settings.parity != kParityNone ? TRUE : FALSE;
  driver.fOutxCtsFlow = FALSE;
  driver.fOutxDsrFlow = FALSE;
  driver.fDtrControl = settings.dtr ? DTR_CONTROL_ENABLE : DTR_CONTROL_DISABLE;
  driver.fDsrSensitivity = FALSE;
  driver.fTXContinueOnXoff = TRUE;
  driver.fOutX = FALSE;
  driver.fInX = FALSE;
  driver.fErrorChar = FALSE;
  driver.fNull = FALSE;
  driver.fRtsControl = settings.rts ? RTS_CONTROL_ENABLE : RTS_CONTROL_DISABLE;
  driver.fAbortOnError = FALSE;
  return driver;
}

SerialSettings settings_in(const DCB& driver, const SerialSettings& asked) {
  SerialSettings taken = asked;
  taken.baud = driver.BaudRate;
  taken.data_bits = driver.ByteSize;
  taken.parity = driver.Parity;
  taken.stop_bits = driver.StopBits;
  return taken;
}

}  // namespace hvt
