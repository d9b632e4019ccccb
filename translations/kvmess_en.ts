<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="zh_CN">
<context>
    <name>KvChatDialog</name>
    <message>
        <source>最小化</source>
        <translation>Minimize</translation>
    </message>
    <message>
        <source>恢复</source>
        <translation>Restore</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>最大化</source>
        <translation>Maximize</translation>
    </message>
    <message>
        <source>从会话列表移除</source>
        <translation>Remove from list</translation>
    </message>
    <message>
        <source>搜索</source>
        <translation>Search</translation>
    </message>
</context>
<context>
    <name>KvChatItemWidget</name>
    <message>
        <source>用户 %1</source>
        <translation>User %1</translation>
    </message>
    <message>
        <source>已为您分配新的客服:%1</source>
        <translation>A new support agent has been assigned to you: %1</translation>
    </message>
    <message>
        <source>客服忙，请稍后重试</source>
        <translation>Support is busy. Please try again later.</translation>
    </message>
    <message>
        <source>当前用户已重新分配客服</source>
        <translation>This user has been assigned to another support agent.</translation>
    </message>
</context>
<context>
    <name>KvChatWidget</name>
    <message>
        <source>昵称</source>
        <translation>Nickname</translation>
    </message>
    <message>
        <source>上一页</source>
        <translation>Previous page</translation>
    </message>
    <message>
        <source>下一页</source>
        <translation>Next page</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>发送</source>
        <translation>Send</translation>
    </message>
    <message>
        <source>选择图片</source>
        <translation>Choose picture</translation>
    </message>
    <message>
        <source>选择文件</source>
        <translation>Choose file</translation>
    </message>
    <message>
        <source>所有支持的图片格式(*.jpg *.jpeg *.png *.webp *.svg)</source>
        <translation>All supported images (*.jpg *.jpeg *.png *.webp *.svg)</translation>
    </message>
</context>
<context>
    <name>KvCompanyWidget</name>
    <message>
        <source>您还没有加入企业团队</source>
        <translation>You have not joined a team yet</translation>
    </message>
    <message>
        <source>联系客服</source>
        <translation>Contact support</translation>
    </message>
</context>
<context>
    <name>KvConfirmBox</name>
    <message>
        <source>是</source>
        <translation>Yes</translation>
    </message>
    <message>
        <source>否</source>
        <translation>No</translation>
    </message>
</context>
<context>
    <name>KvDesktopNotifier</name>
    <message>
        <source>[文件]</source>
        <translation>[File]</translation>
    </message>
    <message>
        <source>[图片]</source>
        <translation>[Picture]</translation>
    </message>
    <message>
        <source>新的好友请求</source>
        <translation>New friend request</translation>
    </message>
    <message>
        <source>新通知</source>
        <translation>New notice</translation>
    </message>
    <message>
        <source>%1（%2 条新消息）</source>
        <translation>%1 (%2 new messages)</translation>
    </message>
    <message>
        <source>打开会话</source>
        <translation>Open conversation</translation>
    </message>
</context>
<context>
    <name>KvDesktopTray</name>
    <message>
        <source>打开 KvMess</source>
        <translation>Open KvMess</translation>
    </message>
    <message>
        <source>通知</source>
        <translation>Notices</translation>
    </message>
    <message>
        <source>消息</source>
        <translation>Chats</translation>
    </message>
    <message>
        <source>好友</source>
        <translation>Friends</translation>
    </message>
    <message>
        <source>团队</source>
        <translation>Teams</translation>
    </message>
    <message>
        <source>退出登录</source>
        <translation>Sign out</translation>
    </message>
    <message>
        <source>退出</source>
        <translation>Quit</translation>
    </message>
    <message>
        <source>KvMess：%1 条未读</source>
        <translation>KvMess: %1 unread</translation>
    </message>
</context>
<context>
    <name>KvDesktopWindow</name>
    <message>
        <source>消息</source>
        <translation>Messages</translation>
    </message>
    <message>
        <source>账号(&amp;A)</source>
        <translation>&amp;Account</translation>
    </message>
    <message>
        <source>登录...</source>
        <translation>Sign in...</translation>
    </message>
    <message>
        <source>退出登录</source>
        <translation>Sign out</translation>
    </message>
    <message>
        <source>编辑资料...</source>
        <translation>Edit profile...</translation>
    </message>
    <message>
        <source>退出(&amp;Q)</source>
        <translation>&amp;Quit</translation>
    </message>
    <message>
        <source>消息(&amp;M)</source>
        <translation>&amp;Messages</translation>
    </message>
    <message>
        <source>打开全部未读消息</source>
        <translation>Open all unread messages</translation>
    </message>
    <message>
        <source>联系客服</source>
        <translation>Contact support</translation>
    </message>
    <message>
        <source>已请求客服会话</source>
        <translation>Support conversation requested</translation>
    </message>
    <message>
        <source>正在登录...</source>
        <translation>Signing in...</translation>
    </message>
    <message>
        <source>未登录</source>
        <translation>Not signed in</translation>
    </message>
    <message>
        <source>访客 %1</source>
        <translation>Guest %1</translation>
    </message>
    <message>
        <source>消息已连接</source>
        <translation>Messages connected</translation>
    </message>
    <message>
        <source>消息未连接</source>
        <translation>Messages disconnected</translation>
    </message>
    <message>
        <source>KvMess 桌面 - %1 - %2</source>
        <translation>KvMess Desktop - %1 - %2</translation>
    </message>
    <message>
        <source>已登录：%1</source>
        <translation>Signed in: %1</translation>
    </message>
    <message>
        <source>已退出登录</source>
        <translation>Signed out</translation>
    </message>
    <message>
        <source>请先登录</source>
        <translation>Please sign in first</translation>
    </message>
    <message>
        <source>主程序加载文件：%1</source>
        <translation>Host loads file: %1</translation>
    </message>
    <message>
        <source>下载任务：准备文件</source>
        <translation>Download task: preparing file</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Retry</translation>
    </message>
    <message>
        <source>桌面通知</source>
        <translation>Desktop notifications</translation>
    </message>
    <message>
        <source>访客模式：登录后可收发消息</source>
        <translation>Visitor mode: sign in to send and receive messages</translation>
    </message>
    <message>
        <source>登录被拒绝：%1 的密码不对</source>
        <translation>Sign-in refused: wrong password for %1</translation>
    </message>
    <message>
        <source>无法连接服务器 %1</source>
        <translation>Cannot reach the server %1</translation>
    </message>
</context>
<context>
    <name>KvFileWidget</name>
    <message>
        <source>打开</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>打开文件夹</source>
        <translation>Open folder</translation>
    </message>
    <message>
        <source>另存为</source>
        <translation>Save as</translation>
    </message>
    <message>
        <source>有效期保留24小时,请尽快查收</source>
        <translation>Available for 24 hours</translation>
    </message>
    <message>
        <source>发送成功</source>
        <translation>Sent</translation>
    </message>
    <message>
        <source>发送失败</source>
        <translation>Sending failed</translation>
    </message>
    <message>
        <source>下载中...</source>
        <translation>Downloading...</translation>
    </message>
    <message>
        <source>下载成功</source>
        <translation>Downloaded</translation>
    </message>
    <message>
        <source>下载失败</source>
        <translation>Download failed</translation>
    </message>
    <message>
        <source>准备中(下载任务)...</source>
        <translation>Preparing (download task)...</translation>
    </message>
    <message>
        <source>正在发送...</source>
        <translation>Sending...</translation>
    </message>
    <message>
        <source>提示</source>
        <translation>Notice</translation>
    </message>
    <message>
        <source>该文件不存在，可能被删除或移动到其他位置。</source>
        <translation>The file does not exist. It may have been deleted or moved.</translation>
    </message>
    <message>
        <source>文件另存为</source>
        <translation>Save file as</translation>
    </message>
    <message>
        <source>另存文件失败。</source>
        <translation>Could not save the file.</translation>
    </message>
</context>
<context>
    <name>KvFramelessDialog</name>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
</context>
<context>
    <name>KvFriendInfoDialog</name>
    <message>
        <source>昵称：</source>
        <translation>Nickname:</translation>
    </message>
    <message>
        <source>性别：</source>
        <translation>Gender:</translation>
    </message>
    <message>
        <source>家乡：</source>
        <translation>Hometown:</translation>
    </message>
    <message>
        <source>备注：</source>
        <translation>Note:</translation>
    </message>
    <message>
        <source>发送消息</source>
        <translation>Send message</translation>
    </message>
    <message>
        <source>资料</source>
        <translation>Profile</translation>
    </message>
    <message>
        <source>女</source>
        <translation>Female</translation>
    </message>
    <message>
        <source>男</source>
        <translation>Male</translation>
    </message>
    <message>
        <source>未知</source>
        <translation>Unknown</translation>
    </message>
</context>
<context>
    <name>KvFriendItemWidget</name>
    <message>
        <source>昵称</source>
        <translation>Nickname</translation>
    </message>
    <message>
        <source>发送消息...</source>
        <translation>Send message...</translation>
    </message>
    <message>
        <source>查看资料...</source>
        <translation>View profile...</translation>
    </message>
    <message>
        <source>删除好友</source>
        <translation>Remove friend</translation>
    </message>
    <message>
        <source>提示</source>
        <translation>Notice</translation>
    </message>
    <message>
        <source>删除好友【%1】失败。</source>
        <translation>Could not remove friend [%1].</translation>
    </message>
    <message>
        <source>删除好友【%1】后，与其的聊天记录也会一并删除，且无法恢复。

确定删除吗？</source>
        <translation>Removing [%1] from your friends also deletes your conversation with them, and it cannot be restored.

Remove this friend?</translation>
    </message>
</context>
<context>
    <name>KvFriendManager</name>
    <message>
        <source>我的手机</source>
        <translation>My phone</translation>
    </message>
</context>
<context>
    <name>KvFriendMessageItemWidget</name>
    <message>
        <source>用户 %1</source>
        <translation>User %1</translation>
    </message>
    <message>
        <source>[文件]</source>
        <translation>[File]</translation>
    </message>
    <message>
        <source>[图片]</source>
        <translation>[Picture]</translation>
    </message>
</context>
<context>
    <name>KvFriendMessageManager</name>
    <message>
        <source>优惠</source>
        <translation>Offers</translation>
    </message>
</context>
<context>
    <name>KvFriendMessageWidget</name>
    <message>
        <source>从会话列表移除</source>
        <translation>Remove from list</translation>
    </message>
    <message>
        <source>标记为全部已读</source>
        <translation>Mark all as read</translation>
    </message>
</context>
<context>
    <name>KvFriendWidget</name>
    <message>
        <source>添加好友</source>
        <translation>Add friend</translation>
    </message>
    <message>
        <source>联系客服</source>
        <translation>Contact support</translation>
    </message>
    <message>
        <source>请输入关键字检索</source>
        <translation>Search</translation>
    </message>
    <message>
        <source>好友手机号：</source>
        <translation>Friend&apos;s mobile number:</translation>
    </message>
    <message>
        <source>添加好友失败!</source>
        <translation>Could not add friend!</translation>
    </message>
    <message>
        <source>手机号不能为空,请重新输入</source>
        <translation>The mobile number cannot be empty. Please enter it again.</translation>
    </message>
</context>
<context>
    <name>KvGroupWidget</name>
    <message>
        <source>群聊：%1</source>
        <translation>Group chat: %1</translation>
    </message>
</context>
<context>
    <name>KvImageChatLabel</name>
    <message>
        <source>打开文件夹...</source>
        <translation>Open folder...</translation>
    </message>
    <message>
        <source>图片另存为...</source>
        <translation>Save picture as...</translation>
    </message>
</context>
<context>
    <name>KvInputDialog</name>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>KvMapCanvas</name>
    <message>
        <source>地图区域</source>
        <translation>Map area</translation>
    </message>
</context>
<context>
    <name>KvMessageBox</name>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>提示</source>
        <translation>Notice</translation>
    </message>
</context>
<context>
    <name>KvNewFriendRequestWidget</name>
    <message>
        <source>用户 *** 向你发送了好友请求</source>
        <translation>User *** sent you a friend request</translation>
    </message>
    <message>
        <source>同意</source>
        <translation>Accept</translation>
    </message>
    <message>
        <source>拒绝</source>
        <translation>Decline</translation>
    </message>
    <message>
        <source>用户 %1 向你发送了好友请求</source>
        <translation>User %1 sent you a friend request</translation>
    </message>
    <message>
        <source>用户 %1 确认了您的好友请求</source>
        <translation>User %1 accepted your friend request</translation>
    </message>
    <message>
        <source>用户 %1 拒绝了您的好友请求</source>
        <translation>User %1 declined your friend request</translation>
    </message>
    <message>
        <source>用户 %1 解除了和您的好友关系</source>
        <translation>User %1 removed you as a friend</translation>
    </message>
    <message>
        <source>已同意</source>
        <translation>Accepted</translation>
    </message>
    <message>
        <source>已拒绝</source>
        <translation>Declined</translation>
    </message>
    <message>
        <source>已忽略</source>
        <translation>Ignored</translation>
    </message>
    <message>
        <source>你们已经是好友关系。</source>
        <translation>You are already friends.</translation>
    </message>
    <message>
        <source>同意好友请求失败。</source>
        <translation>Could not accept the friend request.</translation>
    </message>
    <message>
        <source>拒绝好友请求失败。</source>
        <translation>Could not decline the friend request.</translation>
    </message>
</context>
<context>
    <name>KvNoticeMessageWidget</name>
    <message>
        <source>查看更多</source>
        <translation>More</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>标记为全部已读</source>
        <translation>Mark all as read</translation>
    </message>
</context>
<context>
    <name>KvNoticeShowDialog</name>
    <message>
        <source>上一条</source>
        <translation>Previous</translation>
    </message>
    <message>
        <source>下一条</source>
        <translation>Next</translation>
    </message>
    <message>
        <source>消息</source>
        <translation>Message</translation>
    </message>
    <message>
        <source>当前已经是第一条。</source>
        <translation>This is the first one.</translation>
    </message>
    <message>
        <source>当前已经是最后一条。</source>
        <translation>This is the last one.</translation>
    </message>
</context>
<context>
    <name>KvNoticeTextWidget</name>
    <message>
        <source>系统通知：</source>
        <translation>System notice:</translation>
    </message>
    <message>
        <source>您的会员信息已更新。</source>
        <translation>Your membership has been updated.</translation>
    </message>
    <message>
        <source>您在其他终端新增了账号下的地图配置，已为您同步配置。</source>
        <translation>You added a map configuration on another device. It has been synchronized.</translation>
    </message>
    <message>
        <source>您在其他终端更新了账号下的地图配置，已为您同步配置。</source>
        <translation>You updated a map configuration on another device. It has been synchronized.</translation>
    </message>
    <message>
        <source>您在其他终端删除了账号下的地图配置，已为您同步配置。</source>
        <translation>You deleted a map configuration on another device. It has been synchronized.</translation>
    </message>
    <message>
        <source>您有新的优惠可领(双击查看)。</source>
        <translation>You have a new offer to claim (double-click to view).</translation>
    </message>
</context>
<context>
    <name>KvPicShowWindow</name>
    <message>
        <source>查看图片</source>
        <translation>View picture</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
</context>
<context>
    <name>KvSafety</name>
    <message>
        <source>链接没有写明协议。</source>
        <translation>The link names no scheme.</translation>
    </message>
    <message>
        <source>“%1:”链接可以打开本机文件或运行程序。</source>
        <translation>A "%1:" link can open files on this computer or run programs.</translation>
    </message>
    <message>
        <source>链接未打开</source>
        <translation>Link not opened</translation>
    </message>
    <message>
        <source>未打开链接：
%1

%2只打开 http、https 和 mailto 链接。</source>
        <translation>This link was not opened:
%1

%2 Only http, https and mailto links open.</translation>
    </message>
    <message>
        <source>打开文件</source>
        <translation>Open file</translation>
    </message>
    <message>
        <source>“%1”是可以运行的程序或脚本，打开它会在本机上运行其中的代码。

只有信任发送者时才打开。仍要打开吗？</source>
        <translation>"%1" is a program or script: opening it runs its code on this computer.

Open it only if you trust the sender. Open it anyway?</translation>
    </message>
</context>
<context>
    <name>KvSearchResultWidget</name>
    <message>
        <source>无结果</source>
        <translation>No results</translation>
    </message>
    <message>
        <source>[文件]</source>
        <translation>[File]</translation>
    </message>
    <message>
        <source>[图片]</source>
        <translation>[Picture]</translation>
    </message>
</context>
<context>
    <name>KvSelfInfoEditDialog</name>
    <message>
        <source>编辑资料</source>
        <translation>Edit profile</translation>
    </message>
    <message>
        <source>昵称：</source>
        <translation>Nickname:</translation>
    </message>
    <message>
        <source>性别：</source>
        <translation>Gender:</translation>
    </message>
    <message>
        <source>家乡：</source>
        <translation>Hometown:</translation>
    </message>
    <message>
        <source>备注：</source>
        <translation>Note:</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>未知</source>
        <translation>Unknown</translation>
    </message>
    <message>
        <source>男</source>
        <translation>Male</translation>
    </message>
    <message>
        <source>女</source>
        <translation>Female</translation>
    </message>
    <message>
        <source>头像(*.ico;*.jpg;*.png;*.jpeg;)</source>
        <translation>Head portraits (*.ico;*.jpg;*.png;*.jpeg;)</translation>
    </message>
    <message>
        <source>请选择头像</source>
        <translation>Choose a head portrait</translation>
    </message>
    <message>
        <source>修改成功</source>
        <translation>Saved</translation>
    </message>
    <message>
        <source>修改头像失败</source>
        <translation>Could not change the head portrait</translation>
    </message>
    <message>
        <source>修改资料失败</source>
        <translation>Could not change the profile</translation>
    </message>
</context>
<context>
    <name>KvSignInDialog</name>
    <message>
        <source>登录</source>
        <translation>Sign in</translation>
    </message>
    <message>
        <source>用户名或手机号</source>
        <translation>User name or mobile number</translation>
    </message>
    <message>
        <source>账号：</source>
        <translation>Account:</translation>
    </message>
    <message>
        <source>密码：</source>
        <translation>Password:</translation>
    </message>
    <message>
        <source>密码登录</source>
        <translation>Password</translation>
    </message>
    <message>
        <source>获取验证码</source>
        <translation>Get code</translation>
    </message>
    <message>
        <source>手机号：</source>
        <translation>Mobile number:</translation>
    </message>
    <message>
        <source>验证码：</source>
        <translation>Code:</translation>
    </message>
    <message>
        <source>验证码登录</source>
        <translation>Verification code</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>已发送</source>
        <translation>Sent</translation>
    </message>
    <message>
        <source>验证码发送失败。</source>
        <translation>Could not send the code.</translation>
    </message>
    <message>
        <source>请输入11位手机号。</source>
        <translation>Please enter an 11-digit mobile number.</translation>
    </message>
    <message>
        <source>请输入账号和密码。</source>
        <translation>Please enter your account and password.</translation>
    </message>
    <message>
        <source>请输入手机号和验证码。</source>
        <translation>Please enter your mobile number and the code.</translation>
    </message>
    <message>
        <source>登录失败：账号或密码错误，或服务不可用。</source>
        <translation>Sign-in failed: wrong account or password, or the service is unavailable.</translation>
    </message>
    <message>
        <source>登录失败：验证码错误，或服务不可用。</source>
        <translation>Sign-in failed: wrong code, or the service is unavailable.</translation>
    </message>
</context>
<context>
    <name>KvUserCommWidget</name>
    <message>
        <source>通知</source>
        <translation>Notices</translation>
    </message>
    <message>
        <source>消息</source>
        <translation>Chats</translation>
    </message>
    <message>
        <source>好友</source>
        <translation>Friends</translation>
    </message>
    <message>
        <source>团队</source>
        <translation>Teams</translation>
    </message>
    <message>
        <source>全部已读</source>
        <translation>Mark all read</translation>
    </message>
</context>
<context>
    <name>KvUserTitles</name>
    <message>
        <source>系统消息</source>
        <translation>System messages</translation>
    </message>
</context>
</TS>
