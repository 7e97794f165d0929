<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ko" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>재부팅</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>업데이트 프로그램에 오신 것을 환영합니다</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>백엔드 서비스에 연결하지 못했습니다</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>펌웨어 업데이트 오류: USB 드라이브를 확인하십시오</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>VRK 라이브러리를 초기화하지 못했습니다</translation>
    </message>
    <message>
        <source>unknown</source>
        <translatorcomment>Stands for the version before &quot;버전으로&quot;.</translatorcomment>
        <translation>알 수 없는</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>USB 드라이브를 제거하거나 장치의 전원을 끄지 마십시오</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>시스템을 %1 버전에서 %2 버전으로 업데이트하시겠습니까?</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>업데이트 확인 중</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>필요한 업데이트 파일이 없습니다</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>펌웨어 업데이트 오류: 압축 파일이 손상되었습니다</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>업데이트 중…</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>펌웨어 업데이트 오류</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>ATMEGA 업데이트 파일 없음: %1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>측정 보드 펌웨어 업데이트 오류</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>USB 드라이브를 제거한 후 [재부팅]을 선택하십시오</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>펌웨어 업데이트가 완료되었습니다</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>취소 중…</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>재부팅 중…</translation>
    </message>
</context>
</TS>
